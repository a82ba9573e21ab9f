// The extension module: every binding file registers its part here, classes before the functions that take them.
// SPDX-License-Identifier: Apache-2.0
#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

NB_MODULE(core_of_main_interpreter, module) {
  // An object that a program still holds when it ends is no fault of the program's.
  nanobind::set_leak_warnings(false);
  module.attr("__doc__") = "The compiled part of velmora; import its names from `velmora`.";
  module.attr("__version__") = VELMORA_VERSION;

  using namespace velmora::python;
  ImportModules();
  RegisterErrors(module);
  RegisterRecycledBuffers(module);
  RegisterSmootherstep(module);
  RegisterTrajectory(module);
  RegisterLimits(module);
  RegisterDifferentiation(module);
  RegisterResampling(module);
  RegisterParameters(module);
  RegisterBlending(module);
  RegisterShapedTrajectory(module);
  RegisterTailBlend(module);
  RegisterVibrationMode(module);
  RegisterImpulseSequence(module);
  RegisterDesigns(module);
  RegisterAnalysis(module);
  RegisterShapeTrajectory(module);
  RegisterBlendShapedTrajectory(module);
  RegisterStreamingShaper(module);
}

namespace {

using Execute = int (*)(PyObject*);
Execute execute_of_nanobind = nullptr;

// Elsewhere the bindings wait for a lock that their own thread holds, and what they keep of one interpreter replaces
// what they keep of another, so that the main one would go wrong too: refused before anything of theirs runs.
int ExecuteInMainInterpreter(PyObject* module) {
  if (PyInterpreterState_GetID(PyInterpreterState_Get()) == 0) return execute_of_nanobind(module);
  PyErr_SetString(PyExc_ImportError, "velmora works in the main interpreter alone, this is a sub-interpreter.");
  return -1;
}

}  // namespace

extern "C" NB_EXPORT PyObject* PyInit__core() {
  PyObject* definition = PyInit_core_of_main_interpreter();
  if (definition == nullptr || execute_of_nanobind != nullptr) return definition;
  for (PyModuleDef_Slot* slot = reinterpret_cast<PyModuleDef*>(definition)->m_slots; slot->slot != 0; ++slot) {
    if (slot->slot != Py_mod_exec) continue;
    execute_of_nanobind = reinterpret_cast<Execute>(slot->value);
    slot->value = reinterpret_cast<void*>(&ExecuteInMainInterpreter);
  }
  return definition;
}
