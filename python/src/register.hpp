// What each binding file adds to the module `velmora._core`: one function per file, called once by module.cpp.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

namespace velmora::python {

void RegisterRecycledBuffers(nanobind::module_& module);
void RegisterErrors(nanobind::module_& module);
void RegisterSmootherstep(nanobind::module_& module);
void RegisterTrajectory(nanobind::module_& module);
void RegisterLimits(nanobind::module_& module);
void RegisterDifferentiation(nanobind::module_& module);
void RegisterResampling(nanobind::module_& module);
void RegisterParameters(nanobind::module_& module);
void RegisterBlending(nanobind::module_& module);
void RegisterShapedTrajectory(nanobind::module_& module);
void RegisterTailBlend(nanobind::module_& module);
void RegisterVibrationMode(nanobind::module_& module);
void RegisterImpulseSequence(nanobind::module_& module);
void RegisterDesigns(nanobind::module_& module);
void RegisterAnalysis(nanobind::module_& module);
void RegisterShapeTrajectory(nanobind::module_& module);
void RegisterBlendShapedTrajectory(nanobind::module_& module);
void RegisterStreamingShaper(nanobind::module_& module);

}  // namespace velmora::python
