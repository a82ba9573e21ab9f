// Fuzzer: whatever the numbers, the input-shaping library refuses them with its own error or keeps its promises.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <vector>

#include "byte_reader.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/shaping/streaming_shaper.hpp"

namespace velmora::fuzzing {
namespace {

using namespace shaping;

constexpr double kMostSamples = 5000.0;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

VibrationMode Mode(ByteReader& bytes) {
  if (bytes.OneIn(4)) return VibrationMode(bytes.Value(), bytes.Value());
  return VibrationMode(0.1 + bytes.Byte() / 8.0, bytes.Byte() / 300.0);
}

ImpulseSequence Design(ByteReader& bytes, const VibrationMode& mode) {
  const std::size_t design = bytes.Below(10);
  const double tolerance = bytes.OneIn(8) ? bytes.Value() : bytes.Byte() / 500.0;
  switch (design) {
    case 0:
      return Zv(mode);
    case 1:
      return Zvdd(mode);
    case 2:
      return Mzv(mode);
    case 3:
      return Ei(mode, tolerance);
    case 4:
      return TwoHumpEi(mode, tolerance);
    case 5:
      return ThreeHumpEi(mode, tolerance);
    case 6:
      return UmZv(mode);
    case 7:
      return UmZvd(mode);
    case 8: {
      const auto impulses = static_cast<Eigen::Index>(bytes.Below(6));
      return ImpulseSequence(bytes.Times(impulses), bytes.Array(impulses, 1).col(0));
    }
    default:
      return Convolve(Zvd(mode), Zv(Mode(bytes)));
  }
}

void Analyse(ByteReader& bytes) {
  const VibrationMode mode = Mode(bytes);
  const ImpulseSequence sequence = Design(bytes, mode);
  const double residual = ResidualVibration(sequence, mode);
  Require(!(residual < 0.0), "a negative residual");
  const InsensitivityBand band = Insensitivity(sequence, mode, bytes.Byte() / 250.0);
  Require(band.low_hz <= mode.frequency_hz && band.high_hz >= mode.frequency_hz, "a band beside its mode");
}

void ShapeAndStream(ByteReader& bytes) {
  const VibrationMode mode = Mode(bytes);
  const ImpulseSequence sequence = Design(bytes, mode);
  const auto samples = static_cast<Eigen::Index>(1 + bytes.Below(60));
  const auto joints = static_cast<Eigen::Index>(bytes.Below(6));
  const double dt = bytes.OneIn(4) ? bytes.Value() : 0.001 * (1 + bytes.Byte());
  const JointTrajectory raw(bytes.Array(samples, joints), std::nullopt, std::nullopt, std::nullopt, dt, std::nullopt);
  if (!(sequence.duration_s() / dt < kMostSamples)) return;
  const auto method = bytes.OneIn(2) ? util::timing::ResamplingMethod::cubic : util::timing::ResamplingMethod::linear;
  const std::vector<ImpulseSequence> sequences(bytes.OneIn(3) ? static_cast<std::size_t>(joints) : 1, sequence);
  const ShapedCommand shaped = ShapeTrajectory(raw, sequences, dt, method);
  PathDeviation(raw, shaped);
  BlendShapedTrajectory(raw, shaped, WeightTransition{bytes.Byte() / 250.0, bytes.Value()});

  constexpr double kMostOfTail = kMostSamples + 100.0;
  if (!std::isfinite((static_cast<double>(samples) + kMostOfTail) * dt)) return;  // where times end, no tail does
  StreamingShaper shaper(sequence, joints, dt);
  const Vector zero = Vector::Zero(joints);
  for (Eigen::Index i = 0; i < samples; ++i) shaper.Step({raw.positions.row(i).transpose(), zero, zero});
  for (double k = 0.0; !shaper.AtRest(); k += 1.0) {
    Require(k < kMostOfTail, "a tail that does not end");
    shaper.StepTail();
  }
}

}  // namespace
}  // namespace velmora::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::fuzzing::ByteReader bytes(data, size);
  try {
    if (bytes.OneIn(2)) {
      velmora::fuzzing::Analyse(bytes);
    } else {
      velmora::fuzzing::ShapeAndStream(bytes);
    }
  } catch (const velmora::native::InvalidArgumentError&) {
  } catch (const std::bad_alloc&) {
  }
  return 0;
}
