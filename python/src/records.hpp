// What the small immutable records have in common: copies, pickles and the text that shows them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

namespace velmora::python {

/// Equal shapes and equal bits: NaN equals itself, 0.0 and -0.0 differ.
template <typename Array>
bool SameBits(const Array& a, const Array& b) {
  return a.rows() == b.rows() && a.cols() == b.cols() &&
         (a.size() == 0 || std::memcmp(a.data(), b.data(), static_cast<std::size_t>(a.size()) * sizeof(double)) == 0);
}

/// Adds `copy.copy`, `copy.deepcopy`, `pickle` and `repr`, all by the constructor's arguments, which are read-only
/// attributes too. Nothing in a record changes, so a copy is the record itself.
template <typename Record>
void AddRecordMethods(nanobind::class_<Record>& record, std::initializer_list<const char*> arguments) {
  namespace nb = nanobind;
  const std::vector<const char*> names(arguments);
  record.def(
      "__copy__", [](nb::handle self) { return nb::borrow(self); }, nb::sig("def __copy__(self) -> object"));
  record.def(
      "__deepcopy__", [](nb::handle self, nb::handle) { return nb::borrow(self); }, nb::arg("memo"),
      nb::sig("def __deepcopy__(self, memo: dict[int, object]) -> object"));
  record.def(
      "__reduce__",
      [names](nb::handle self) {
        nb::list values;
        for (const char* name : names) values.append(self.attr(name));
        return nb::make_tuple(self.type(), nb::tuple(values));
      },
      nb::sig("def __reduce__(self) -> tuple[object, ...]"));
  record.def("__repr__", [names](nb::handle self) {
    std::string text = nb::cast<std::string>(self.type().attr("__name__"));
    const char* separator = "(";
    for (const char* name : names) {
      text += separator;
      text += name;
      text += "=" + nb::cast<std::string>(nb::repr(self.attr(name)));
      separator = ", ";
    }
    return text + ")";
  });
  record.attr("__hash__") = nb::none();
}

}  // namespace velmora::python
