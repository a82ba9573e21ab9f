// Between Python's objects and the library's types: the one place for every kind of argument and result.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>

#include <optional>
#include <string>
#include <variant>

#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::python {

namespace nb = nanobind;
using native::Matrix;
using native::Vector;

/// What conversions need of other modules; before the first of them.
void ImportModules();

// In: whatever numpy makes an array of real numbers of, converted once; anything else is a TypeError (kind) or a
// ValueError (number of dimensions) that names the argument. The library checks the content.

/// A matrix of N x J from any two-dimensional array of real numbers.
Matrix ToMatrix(nb::handle source, const char* argument);
std::optional<Matrix> ToOptionalMatrix(nb::handle source, const char* argument);
/// A vector from any one-dimensional array of real numbers.
Vector ToVector(nb::handle source, const char* argument);
std::optional<Vector> ToOptionalVector(nb::handle source, const char* argument);
/// A number from Python's or numpy's real numbers, or an array of them without dimensions.
double ToDouble(nb::handle source, const char* argument);
std::optional<double> ToOptionalDouble(nb::handle source, const char* argument);
std::variant<double, Vector> ToDoubleOrVector(nb::handle source, const char* argument);
bool ToBool(nb::handle source, const char* argument);
/// The value of a member, of its name or of an integer, of which the library judges those that are no member's.
util::timing::ResamplingMethod ToResamplingMethod(nb::handle source, const char* argument);
util::timing::ResamplingTimeGridMode ToResamplingTimeGridMode(nb::handle source, const char* argument);
/// The bytes of a str; bytes that are no UTF-8 stand in it as Python's surrogate escapes, there and back.
std::string ToText(nb::handle source, const char* argument);
nb::object FromText(const std::string& text);

/// Raises a TypeError: what the argument must be, and the type that came.
[[noreturn]] void RefuseType(nb::handle source, const char* argument, const char* expected);

/// The object of the library's that the source holds.
template <typename Class>
const Class& ToInstance(nb::handle source, const char* argument, const char* expected) {
  const Class* instance = nullptr;
  if (!nb::try_cast(source, instance) || instance == nullptr) RefuseType(source, argument, expected);
  return *instance;
}

/// Real numbers in any number of dimensions: a C-ordered float64 array of numpy's.
nb::object ToFloatArray(nb::handle source, const char* argument);

/// The member of the enumeration.
nb::object ToMember(util::timing::ResamplingMethod method);
nb::object ToMember(util::timing::ResamplingTimeGridMode mode);

// Out: read-only, without a copy.

/// A view that keeps `owner`, in which the values lie, alive.
nb::object ViewOf(const Matrix& matrix, nb::handle owner);
nb::object ViewOf(const Vector& vector, nb::handle owner);
/// An array that owns the values.
nb::object ToArray(Matrix matrix);
nb::object ToArray(Vector vector);

}  // namespace velmora::python
