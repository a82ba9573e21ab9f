# Installs a build tree into a clean folder and moves the result, so that a path that was baked in is missed.
file(REMOVE_RECURSE ${installed_at} ${moved_to})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build_dir} --config "${config}" --prefix ${installed_at}
                COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${installed_at} ${moved_to})
