// The library's exception becomes `velmora.InvalidArgumentError`; std::bad_alloc becomes MemoryError by nanobind.
// SPDX-License-Identifier: Apache-2.0
#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>

#include "conversions.hpp"
#include "register.hpp"
#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::python {

namespace nb = nanobind;

void RegisterErrors(nb::module_&) {
  // Kept for as long as the process runs, as the translator is.
  PyObject* type = nb::object(nb::module_::import_("velmora._errors").attr("InvalidArgumentError")).release().ptr();
  nb::register_exception_translator(
      [](const std::exception_ptr& thrown, void* type_of_error) {
        try {
          std::rethrow_exception(thrown);
        } catch (const native::InvalidArgumentError& error) {
          const nb::handle type_object(static_cast<PyObject*>(type_of_error));
          PyErr_SetObject(type_object.ptr(), type_object(FromText(error.what()), error.argument_name()).ptr());
        }
      },
      type);
}

}  // namespace velmora::python
