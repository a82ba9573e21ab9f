// The extension module: every binding file registers its part here, classes before the functions that take them.
// SPDX-License-Identifier: Apache-2.0
#include <nanobind/nanobind.h>

#include "register.hpp"

NB_MODULE(_core, module) {
  // An object that a program still holds when it ends is no fault of the program's.
  nanobind::set_leak_warnings(false);
  module.attr("__doc__") = "The compiled part of velmora; import its names from `velmora`.";
  module.attr("__version__") = VELMORA_VERSION;

  using namespace velmora::python;
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
