# SPDX-License-Identifier: Apache-2.0
"""Options from a project's `velmora.toml`, and the account of where every value came from."""

from __future__ import annotations

import difflib
import importlib
import os
import sys
from collections.abc import Mapping
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import click

from velmora.tools.errors import UsageError

FILE_NAME = "velmora.toml"
_META_KEY = "velmora.tools.config"
_UNUSED_KEY = "velmora.tools.config.unused"
_COMMAND_LINE = "command line"


@dataclass(frozen=True)
class Setting:
    """An option that was set: its name, its value as text, and where it came from."""

    name: str
    value: str
    origin: str  # "command line", "environment VELMORA_RESAMPLE_RATE", "/project/velmora.toml [resample]"


def find(folder: Path) -> Path | None:
    """The nearest `velmora.toml` in a folder or above it."""
    return next((path for place in (folder, *folder.parents) if (path := place / FILE_NAME).is_file()), None)


def defaults(ctx: click.Context) -> dict[str, Any]:
    """What the nearest `velmora.toml` sets for the command that is about to run, as click's default map.

    Tables are named after commands. Keys outside of tables hold for every command that has such an option.
    """
    name = ctx.invoked_subcommand
    command = None if name is None or not isinstance(ctx.command, click.Group) else ctx.command.get_command(ctx, name)
    if command is None or name is None:
        return {}
    _refuse_unknown_variables(command, name)
    _refuse_misspelt_commands(ctx)
    path = find(Path.cwd())
    if path is None:
        return {}
    tables = _load(path)
    options = _by_name(command)
    by_any_name = _by_any_name(command)
    common = {key: value for key, value in tables.items() if not isinstance(value, dict)}
    _refuse_unknown(ctx, path, tables, options)
    own = tables.get(name, {})
    for key in own:
        if _identifier(key) not in by_any_name:
            _unknown(path, f"option '{key}' in [{name}]", key, [_option_name(option) for option in options.values()])
    in_folder = "output_dir" in {_identifier(key) for key in (*common, *own)}
    values: dict[str, Any] = {}
    origins: dict[str, str] = {}
    for section, table, known in (("", common, options), (f" [{name}]", own, by_any_name)):
        for key, value in table.items():
            option = known.get(_identifier(key))
            if option is not None and option.name is not None:
                values[option.name] = _as_typed(option, value, path.parent, in_folder)
                origins[option.name] = f"{path}{section}"
    ctx.meta[_META_KEY] = origins
    return {name: values}


def settings(ctx: click.Context) -> list[Setting]:
    """The options of the running command that are not at their defaults, in the order of its help.

    Without those that give way to another one from a nearer source.
    """
    found = []
    unused = ctx.meta.get(_UNUSED_KEY, ())
    for parameter in ctx.command.params:
        if isinstance(parameter, click.Option) and parameter.name is not None and parameter.name not in unused:
            origin = _origin(ctx, parameter.name)
            if origin is not None:
                found.append(Setting(_option_name(parameter), _text(ctx.params.get(parameter.name)), origin))
    return found


def with_origin(error: click.ClickException) -> click.ClickException:
    """The error, with where the value came from, if that is not the command line."""
    if isinstance(error, click.BadParameter) and error.ctx is not None and error.param is not None:
        origin = _origin(error.ctx, error.param.name or "")
        if origin not in (None, _COMMAND_LINE):
            message = f"{error.message.removesuffix('.')} ({origin})."
            return click.BadParameter(message, error.ctx, error.param, error.param_hint)
    return error


def _origin(ctx: click.Context, name: str) -> str | None:
    """Where the value of an option came from; None for its default."""
    source = ctx.get_parameter_source(name)
    if source is click.core.ParameterSource.COMMANDLINE:
        return _COMMAND_LINE
    if source is click.core.ParameterSource.ENVIRONMENT:
        option = next(parameter for parameter in ctx.command.params if parameter.name == name)
        return f"environment {option.envvar}"
    if source is click.core.ParameterSource.DEFAULT_MAP:
        origins: Mapping[str, str] = ctx.meta.get(_META_KEY, {})
        return origins.get(name, FILE_NAME)
    return None


_RANKS = {
    click.core.ParameterSource.COMMANDLINE: 3,
    click.core.ParameterSource.ENVIRONMENT: 2,
    click.core.ParameterSource.DEFAULT_MAP: 1,
}


def only_one(ctx: click.Context, names: tuple[str, ...], required: bool) -> str | None:
    """Of options that exclude each other the one that was given; the nearer source wins.

    Raises
    ------
    UsageError
        "--a and --b exclude each other; give one of them" or "one of --a, --b is needed".
    """
    ranks = _ranks(ctx, names)
    if not ranks:
        if required:
            raise UsageError(f"one of {', '.join(_flags(names))} is needed")
        return None
    given = [name for name, rank in ranks.items() if rank == max(ranks.values())]
    if len(given) > 1:
        raise UsageError(f"{' and '.join(_flags(given))} exclude each other; give one of them")
    _leave_unused(ctx, tuple(name for name in names if name != given[0]))
    return given[0]


def giving_way(ctx: click.Context, names: tuple[str, ...]) -> tuple[str, ...]:
    """Of options that only go together from one source those that give way to another one from a nearer source."""
    ranks = _ranks(ctx, names)
    farther = tuple(name for name, rank in ranks.items() if rank < max(ranks.values()))
    _leave_unused(ctx, farther)
    return farther


def _ranks(ctx: click.Context, names: tuple[str, ...]) -> dict[str, int]:
    """How near the sources are, of the options that were given."""
    sources = {name: ctx.get_parameter_source(name) for name in names if ctx.params.get(name) is not None}
    return {name: _RANKS[source] for name, source in sources.items() if source is not None and source in _RANKS}


def _leave_unused(ctx: click.Context, names: tuple[str, ...]) -> None:
    ctx.meta[_UNUSED_KEY] = (*ctx.meta.get(_UNUSED_KEY, ()), *names)


def _flags(names: tuple[str, ...] | list[str]) -> list[str]:
    return ["--" + name.replace("_", "-") for name in names]


def _load(path: Path) -> dict[str, Any]:
    tomllib: Any = importlib.import_module("tomllib" if sys.version_info >= (3, 11) else "tomli")
    try:
        with path.open("rb") as file:
            tables: dict[str, Any] = tomllib.load(file)
            return tables
    except (tomllib.TOMLDecodeError, UnicodeDecodeError) as error:
        raise UsageError(f"{path}: {error}; a TOML file was expected") from error
    except OSError as error:
        raise UsageError(f"{path}: {error.strerror}") from error


def name_variables(command: click.Command, name: str) -> None:
    """Name the environment variables of a command's options after their flags."""
    for option in _by_name(command).values():
        option.envvar = f"VELMORA_{name.upper()}_{_identifier(_option_name(option)).upper()}"


def _refuse_unknown_variables(command: click.Command, name: str) -> None:
    known = [str(option.envvar) for option in _by_name(command).values()]
    for variable in os.environ:
        if variable.startswith(f"VELMORA_{name.upper()}_") and variable not in known:
            _unknown("environment", variable, variable, known)


def _refuse_misspelt_commands(ctx: click.Context) -> None:
    """Of variables that name no command only those that nearly do, with an option of it: others may be anybody's."""
    assert isinstance(ctx.command, click.Group)
    names = ctx.command.list_commands(ctx)
    for variable in os.environ:
        start, _, rest = variable.partition("_")
        word, _, option = rest.lower().partition("_")
        if start == "VELMORA" and option and word not in names:
            for nearest in difflib.get_close_matches(word, names, n=1, cutoff=0.75):
                command = ctx.command.get_command(ctx, nearest)
                if command is not None and option in _by_name(command):
                    _unknown("environment", variable, variable, [f"VELMORA_{nearest}_{option}".upper()])


def _by_name(command: click.Command) -> dict[str, click.Option]:
    return {_identifier(_option_name(option)): option for option in command.params if isinstance(option, click.Option)}


def _by_any_name(command: click.Command) -> dict[str, click.Option]:
    """The options by all their long names: `rate` is that of the input where a command has no other."""
    return {
        _identifier(flag.removeprefix("--")): option
        for option in _by_name(command).values()
        for flag in option.opts
        if flag.startswith("--")
    }


def _refuse_unknown(
    ctx: click.Context, path: Path, tables: Mapping[str, Any], options: Mapping[str, click.Option]
) -> None:
    assert isinstance(ctx.command, click.Group)
    group = ctx.command
    names = group.list_commands(ctx)
    for key, value in tables.items():
        if isinstance(value, dict):
            if key not in names:
                _unknown(path, f"table [{key}]", key, names)
        elif _identifier(key) not in options:
            # An option of another command, which has to be imported for that; seldom enough.
            commands = [command for name in names if (command := group.get_command(ctx, name)) is not None]
            known = {key: option for command in commands for key, option in _by_name(command).items()}
            if _identifier(key) not in known:
                _unknown(path, f"option '{key}'", key, [_option_name(option) for option in known.values()])


def _unknown(path: Path | str, what: str, name: str, names: list[str]) -> None:
    nearest = difflib.get_close_matches(name, names, n=1, cutoff=0.5)
    hint = f"did you mean '{nearest[0]}'?" if nearest else f"there are {', '.join(names)}"
    raise UsageError(f"{path}: {what} is not known; {hint}")


def _identifier(key: str) -> str:
    return key.replace("-", "_")


def _option_name(option: click.Option) -> str:
    """The long name without its dashes."""
    longest = max(option.opts, key=len)
    return longest.lstrip("-")


def _as_typed(option: click.Option, value: Any, folder: Path, in_folder: bool) -> Any:
    """A value of `velmora.toml` as it would be typed, so that it is judged as such: 3.5 is no number of samples.

    A file that is named there is looked for beside it; outputs are below the folder for them if that stands there too.
    """
    if option.multiple:
        return [_text(entry) for entry in (value if isinstance(value, list) else [value])]
    is_file = isinstance(option.type, click.Path) or (option.name == "output" and not in_folder)
    if is_file and isinstance(value, str) and value != "-" and "://" not in value:
        return str(folder / value)
    return _text(value)


def _text(value: Any) -> str:
    if isinstance(value, (list, tuple)):
        return ",".join(str(entry) for entry in value)
    return str(value)
