// Between Python's objects and the library's types: the one place for every kind of argument and result.
// SPDX-License-Identifier: Apache-2.0
#include "conversions.hpp"

#include <nanobind/ndarray.h>
#define NPY_NO_DEPRECATED_API NPY_2_0_API_VERSION
#define NPY_TARGET_VERSION NPY_1_23_API_VERSION  // that of numpy 1.24, the oldest that is taken
#include <numpy/arrayobject.h>
#if NPY_ABI_VERSION < 0x02000000
#error "needs the headers of numpy 2: what is built with those of numpy 1 does not work with numpy 2"
#endif

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace velmora::python {

using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

namespace {

constexpr const char* kNumber = "a real number";
constexpr const char* kVector = "a 1-D array of real numbers";
constexpr const char* kMatrix = "a 2-D array of real numbers (a row per sample, a column per joint)";
constexpr const char* kNumberOrVector = "a real number or a 1-D array of real numbers";
constexpr const char* kAnyArray = "a real number or an array of real numbers";

nb::object Numpy() { return nb::module_::import_("numpy"); }

[[noreturn]] void Refuse(PyObject* type, const char* argument, const char* expected, const std::string& got) {
  const std::string message = std::string(argument) + " must be " + expected + ", got " + got + ".";
  PyErr_SetString(type, message.c_str());
  throw nb::python_error();
}

std::string TypeName(nb::handle source) { return nb::cast<std::string>(nb::str(source.type().attr("__name__"))); }

// Not imported: where the module was never loaded there is no masked array, and none is the answer.
nb::object MaskedArrayType() {
  const nb::object module = nb::module_::import_("sys").attr("modules").attr("get")("numpy.ma");
  return module.is_none() ? module : module.attr("MaskedArray");
}

// Whether a masked array stands in lists and tuples, nested so many levels deep: numpy loses the mask there.
bool HoldsMaskedArray(nb::handle source, nb::handle masked_array, Py_ssize_t levels) {
  if (levels == 0 || !(PyList_Check(source.ptr()) || PyTuple_Check(source.ptr()))) return false;
  const Py_ssize_t length = PySequence_Size(source.ptr());
  for (Py_ssize_t i = 0; i < length; ++i) {
    const nb::object item = nb::steal(PySequence_GetItem(source.ptr(), i));
    if (!item.is_valid()) throw nb::python_error();
    if (PyFloat_Check(item.ptr()) || PyLong_Check(item.ptr())) continue;  // most are, and lists may be long
    const bool is_masked = PyObject_TypeCheck(item.ptr(), reinterpret_cast<PyTypeObject*>(masked_array.ptr())) != 0;
    if (is_masked || HoldsMaskedArray(item, masked_array, levels - 1)) return true;
  }
  return false;
}

bool IsReal(nb::handle kind) {
  const std::string letter = nb::isinstance<nb::str>(kind) ? nb::cast<std::string>(kind) : "";
  return letter == "b" || letter == "i" || letter == "u" || letter == "f";
}

// A frame of pandas with columns of numbers in types that are not numpy's (nullable, Arrow), of which numpy makes
// objects: its values, NaN where one is missing. Of any other source nothing.
nb::object ValuesOfFrame(nb::handle source) {
  if (!nb::hasattr(source, "dtypes") || !nb::hasattr(source, "to_numpy")) return {};
  const nb::object dtypes = source.attr("dtypes");
  if (!nb::hasattr(dtypes, "__iter__")) return {};
  for (const nb::handle dtype : dtypes) {
    if (!IsReal(nb::getattr(dtype, "kind", nb::none()))) return {};
  }
  return source.attr("to_numpy")(nb::arg("dtype") = Numpy().attr("float64"), nb::arg("na_value") = std::nan(""));
}

struct AnyArray {
  nb::object array;
  Py_ssize_t dimensions;
};

// What numpy makes of the source, refused unless its elements are real numbers.
AnyArray AsRealArray(nb::handle source, const char* argument, const char* expected) {
  if (source.is_none()) Refuse(PyExc_TypeError, argument, expected, "None");
  const nb::object masked_array = MaskedArrayType();
  if (!masked_array.is_none() && nb::isinstance(source, masked_array)) {
    Refuse(PyExc_TypeError, argument, expected, "a masked array");
  }
  // Asked first, since numpy warns of what it makes of a masked number.
  constexpr Py_ssize_t kDeepest = 64;  // what is nested deeper is no array to any numpy
  if (!masked_array.is_none() && HoldsMaskedArray(source, masked_array, kDeepest)) {
    Refuse(PyExc_TypeError, argument, expected, "a " + TypeName(source) + " that holds a masked array");
  }
  nb::object array;
  try {
    array = Numpy().attr("asarray")(source);
  } catch (nb::python_error& error) {
    if (!error.matches(PyExc_ValueError)) throw;
    const std::string reason = nb::cast<std::string>(nb::str(error.value()));
    Refuse(PyExc_ValueError, argument, expected,
           "a " + TypeName(source) + " of which numpy makes none (" + reason + ")");
  }
  const nb::object dtype = array.attr("dtype");
  if (!IsReal(dtype.attr("kind"))) {
    const nb::object values = ValuesOfFrame(source);
    if (!values.is_valid()) {
      const std::string what = nb::cast<std::string>(nb::str(dtype));
      Refuse(PyExc_TypeError, argument, expected, "a " + TypeName(source) + " of dtype " + what);
    }
    array = values;
  }
  return {array, nb::cast<Py_ssize_t>(array.attr("ndim"))};
}

[[noreturn]] void RefuseShape(const AnyArray& source, const char* argument, const char* expected) {
  const nb::object shape = source.array.attr("shape");
  Refuse(PyExc_ValueError, argument, expected, "an array of shape " + nb::cast<std::string>(nb::str(shape)));
}

// Before anything of numpy's own interface is used, not as the extension loads: the command starts without numpy. The
// mutex is one only where there is no interpreter lock. With that lock none must be held here: importing numpy gives it
// up, and a second thread would wait with it for the first one's mutex; it does the same work again instead.
void LoadNumpy() {
  static std::atomic<bool> loaded{false};
  static nb::ft_mutex mutex;
  if (loaded.load()) return;
  const nb::ft_lock_guard guard(mutex);
  if (PyArray_ImportNumPyAPI() != 0) nb::raise_python_error();
  loaded.store(true);
}

// The memory of an array that is as the library wants it: C-ordered float64 in native byte order.
class Float64Buffer {
 public:
  Float64Buffer(nb::handle source, int dimensions) {
    // Of numpy's own type alone: a subclass may mean something else by its elements, as a masked array does.
    LoadNumpy();
    if (!PyArray_CheckExact(source.ptr())) return;
    if (PyObject_GetBuffer(source.ptr(), &view_, PyBUF_C_CONTIGUOUS | PyBUF_FORMAT) != 0) {
      PyErr_Clear();
      return;
    }
    held_ = true;
    fits_ = view_.ndim == dimensions && view_.format != nullptr && std::strcmp(view_.format, "d") == 0;
  }
  ~Float64Buffer() {
    if (held_) PyBuffer_Release(&view_);
  }
  Float64Buffer(const Float64Buffer&) = delete;
  Float64Buffer& operator=(const Float64Buffer&) = delete;

  explicit operator bool() const { return fits_; }
  const double* data() const { return static_cast<const double*>(view_.buf); }
  Py_ssize_t length(int axis) const { return view_.shape[axis]; }

 private:
  Py_buffer view_{};
  bool held_ = false;
  bool fits_ = false;
};

// One pass over the source, whatever its element type and its order in memory.
template <typename Array, std::size_t kDimensions>
void ConvertInto(Array& target, const std::size_t (&shape)[kDimensions], const nb::object& source) {
  const nb::ndarray<nb::numpy, double> destination(target.data(), kDimensions, shape, nb::none());
  Numpy().attr("copyto")(nb::cast(destination, nb::rv_policy::reference), source);
}

Vector ConvertVector(const AnyArray& source) {
  const std::size_t shape[] = {nb::cast<std::size_t>(source.array.attr("size"))};
  Vector vector(static_cast<Eigen::Index>(shape[0]));
  if (shape[0] > 0) ConvertInto(vector, shape, source.array);
  return vector;
}

Vector CopyOf(const Float64Buffer& buffer) {
  Vector vector(buffer.length(0));
  std::copy_n(buffer.data(), vector.size(), vector.data());
  return vector;
}

// The enumerations, for as long as the process runs, as the functions are.
nb::handle resampling_method;
nb::handle resampling_time_grid_mode;

// A member of another enumeration is an integer as well, but not what was meant.
template <typename Option, Option (*kParse)(std::string_view)>
Option ToOption(nb::handle source, const char* argument, nb::handle enumeration) {
  if (nb::isinstance<nb::str>(source)) return kParse(ToText(source, argument));
  int value = 0;
  const bool is_number = PyLong_CheckExact(source.ptr()) || nb::isinstance(source, enumeration);
  if (!is_number || !nb::try_cast(source, value)) {
    const std::string name = nb::cast<std::string>(enumeration.attr("__name__"));
    RefuseType(source, argument, ("a " + name + " or its name").c_str());
  }
  return static_cast<Option>(value);
}

// By numpy's own interface: the usual way, through the protocol of buffers, takes four times as long.
template <typename Array>
nb::object View(const Array& array, int dimensions, nb::handle owner) {
  LoadNumpy();
  const npy_intp shape[] = {array.rows(), array.cols()};
  // numpy wants an address even of an array without elements.
  static const double nothing = 0.0;
  const double* data = array.size() > 0 ? array.data() : &nothing;
  void* values = const_cast<double*>(data);  // the array is read-only
  nb::object view = nb::steal(
      PyArray_New(&PyArray_Type, dimensions, shape, NPY_DOUBLE, nullptr, values, 0, NPY_ARRAY_CARRAY_RO, nullptr));
  const bool made = view.is_valid() &&
                    PyArray_SetBaseObject(reinterpret_cast<PyArrayObject*>(view.ptr()), owner.inc_ref().ptr()) == 0;
  if (!made) nb::raise_python_error();
  return view;
}

template <typename Array>
nb::object Own(Array array, int dimensions) {
  auto kept = std::make_unique<Array>(std::move(array));
  const Array& values = *kept;
  const nb::capsule owner(kept.release(), [](void* held) noexcept { delete static_cast<Array*>(held); });
  return View(values, dimensions, owner);
}

}  // namespace

void ImportModules() {
  const nb::object enumerations = nb::module_::import_("velmora._enums");
  resampling_method = nb::object(enumerations.attr("ResamplingMethod")).release();
  resampling_time_grid_mode = nb::object(enumerations.attr("ResamplingTimeGridMode")).release();
}

Matrix ToMatrix(nb::handle source, const char* argument) {
  if (const Float64Buffer buffer(source, 2); buffer) {
    Matrix matrix(buffer.length(0), buffer.length(1));
    std::copy_n(buffer.data(), matrix.size(), matrix.data());
    return matrix;
  }
  const AnyArray any = AsRealArray(source, argument, kMatrix);
  if (any.dimensions != 2) RefuseShape(any, argument, kMatrix);
  const auto [rows, cols] = nb::cast<std::pair<std::size_t, std::size_t>>(any.array.attr("shape"));
  Matrix matrix(static_cast<Eigen::Index>(rows), static_cast<Eigen::Index>(cols));
  if (matrix.size() > 0) ConvertInto(matrix, {rows, cols}, any.array);
  return matrix;
}

Vector ToVector(nb::handle source, const char* argument) {
  if (const Float64Buffer buffer(source, 1); buffer) return CopyOf(buffer);
  const AnyArray any = AsRealArray(source, argument, kVector);
  if (any.dimensions != 1) RefuseShape(any, argument, kVector);
  return ConvertVector(any);
}

double ToDouble(nb::handle source, const char* argument) {
  if (PyFloat_Check(source.ptr())) return PyFloat_AsDouble(source.ptr());
  if (PyLong_Check(source.ptr())) {
    const double value = PyLong_AsDouble(source.ptr());
    if (!(value == -1.0 && PyErr_Occurred())) return value;
    PyErr_Clear();
    Refuse(PyExc_ValueError, argument, kNumber, "an integer beyond the range of a double");
  }
  const AnyArray any = AsRealArray(source, argument, kNumber);
  if (any.dimensions != 0) RefuseShape(any, argument, kNumber);
  return nb::cast<double>(any.array.attr("item")());
}

std::variant<double, Vector> ToDoubleOrVector(nb::handle source, const char* argument) {
  if (const Float64Buffer buffer(source, 1); buffer) return CopyOf(buffer);
  if (PyFloat_Check(source.ptr()) || PyLong_Check(source.ptr())) return ToDouble(source, argument);
  const AnyArray any = AsRealArray(source, argument, kNumberOrVector);
  if (any.dimensions == 0) return nb::cast<double>(any.array.attr("item")());
  if (any.dimensions != 1) RefuseShape(any, argument, kNumberOrVector);
  return ConvertVector(any);
}

std::optional<Matrix> ToOptionalMatrix(nb::handle source, const char* argument) {
  if (source.is_none()) return std::nullopt;
  return ToMatrix(source, argument);
}

std::optional<Vector> ToOptionalVector(nb::handle source, const char* argument) {
  if (source.is_none()) return std::nullopt;
  return ToVector(source, argument);
}

std::optional<double> ToOptionalDouble(nb::handle source, const char* argument) {
  if (source.is_none()) return std::nullopt;
  return ToDouble(source, argument);
}

bool ToBool(nb::handle source, const char* argument) {
  if (source.is(Py_True) || source.is(Py_False)) return source.is(Py_True);
  if (nb::isinstance(source, Numpy().attr("bool_"))) return nb::cast<bool>(source.attr("item")());
  RefuseType(source, argument, "True or False");
}

ResamplingMethod ToResamplingMethod(nb::handle source, const char* argument) {
  return ToOption<ResamplingMethod, &util::timing::ParseResamplingMethod>(source, argument, resampling_method);
}

ResamplingTimeGridMode ToResamplingTimeGridMode(nb::handle source, const char* argument) {
  return ToOption<ResamplingTimeGridMode, &util::timing::ParseResamplingTimeGridMode>(source, argument,
                                                                                      resampling_time_grid_mode);
}

std::string ToText(nb::handle source, const char* argument) {
  if (!nb::isinstance<nb::str>(source)) RefuseType(source, argument, "a str");
  const auto bytes = nb::steal<nb::bytes>(PyUnicode_AsEncodedString(source.ptr(), "utf-8", "surrogateescape"));
  if (!bytes.is_valid()) throw nb::python_error();
  return {bytes.c_str(), bytes.size()};
}

nb::object FromText(const std::string& text) {
  return nb::steal(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
}

void RefuseType(nb::handle source, const char* argument, const char* expected) {
  Refuse(PyExc_TypeError, argument, expected, TypeName(source));
}

nb::object ToFloatArray(nb::handle source, const char* argument) {
  const AnyArray any = AsRealArray(source, argument, kAnyArray);
  const nb::object numpy = Numpy();
  return numpy.attr("asarray")(any.array, nb::arg("dtype") = numpy.attr("float64"), nb::arg("order") = "C");
}

nb::object ToMember(ResamplingMethod method) { return resampling_method(static_cast<int>(method)); }
nb::object ToMember(ResamplingTimeGridMode mode) { return resampling_time_grid_mode(static_cast<int>(mode)); }

nb::object ViewOf(const Matrix& matrix, nb::handle owner) { return View(matrix, 2, owner); }
nb::object ViewOf(const Vector& vector, nb::handle owner) { return View(vector, 1, owner); }
nb::object ToArray(Matrix matrix) { return Own(std::move(matrix), 2); }
nb::object ToArray(Vector vector) { return Own(std::move(vector), 1); }

}  // namespace velmora::python
