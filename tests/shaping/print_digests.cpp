// Prints digests of what the input-shaping library gives for thousands of calls, one line per routine.
//   velmora_input_shaping_corpus [unsigned-zeros]   all zeros count as one, for an emulated processor that loses signs
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "calls/result.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/shaping/streaming_shaper.hpp"

namespace {

using namespace velmora::shaping;
using velmora::native::Matrix;
using velmora::testing::Digest;
using velmora::testing::SplitMix64;
using velmora::util::timing::ResamplingMethod;

template <typename Array>
void AddArray(Digest& digest, const Array& values) {
  for (Eigen::Index k = 0; k < values.size(); ++k) digest.Add(values.data()[k]);
}

void Add(Digest& digest, const ImpulseSequence& sequence) {
  AddArray(digest, sequence.times_s);
  AddArray(digest, sequence.amplitudes);
  digest.Add(sequence.centroid_s());
}

void Add(Digest& digest, const ShapedCommand& command) {
  for (const ShapedTrajectory* part : {&command.move, &command.tail}) {
    AddArray(digest, part->positions);
    AddArray(digest, part->velocities);
    AddArray(digest, part->accelerations);
    AddArray(digest, part->time);
  }
  digest.Add(command.added_duration_s);
  digest.Add(command.lag_s);
  AddArray(digest, command.end_velocity);
  AddArray(digest, command.start_acceleration);
}

VibrationMode RandomMode(SplitMix64& random, double most_damping) {
  const double damping_ratio = random.OneIn(4) ? 0.0 : most_damping * random.Unit();
  return VibrationMode(0.5 + 20.0 * random.Unit(), damping_ratio);
}

JointTrajectory RandomTrajectory(SplitMix64& random) {
  const std::size_t samples = 2 + random.Below(400);
  const std::size_t joints = 1 + random.Below(9);
  Vector time = velmora::testing::RandomTimes(random, samples, velmora::testing::TimeFamily::jittered);
  time /= time[time.size() - 1] - time[0];
  return JointTrajectory(
      velmora::testing::RandomMatrix(random, samples, joints, velmora::testing::ValueFamily::moderate), std::nullopt,
      std::nullopt, std::move(time), std::nullopt, std::nullopt);
}

ImpulseSequence RandomSequence(SplitMix64& random) {
  const VibrationMode mode = RandomMode(random, 0.5);
  switch (random.Below(4)) {
    case 0:
      return Zvd(mode);
    case 1:
      return Mzv(mode);
    case 2:
      return UmZv(mode);
    default:
      return Convolve(Zv(mode), Zvdd(RandomMode(random, 0.2)));
  }
}

template <typename Call>
void Print(const char* name, int calls, Digest::Zeros zeros, const Call& call) {
  Digest digest(zeros);
  for (int k = 0; k < calls; ++k) {
    SplitMix64 random(1000 * static_cast<unsigned>(name[0]) + static_cast<unsigned>(k));
    try {
      call(random, digest);
    } catch (const std::exception& error) {
      digest.Add(std::string(error.what()));
    }
  }
  std::printf("%s %d %016llx\n", name, calls, static_cast<unsigned long long>(digest.value()));
}

}  // namespace

int main(int argc, char** argv) {
  const bool alike = argc > 1 && std::string_view(argv[1]) == "unsigned-zeros";
  const Digest::Zeros zeros = alike ? Digest::Zeros::alike : Digest::Zeros::signed_zeros;
  const auto design = [&](const char* name, int calls, auto make) {
    Print(name, calls, zeros, [=](SplitMix64& random, Digest& digest) { Add(digest, make(RandomMode(random, 0.9))); });
  };
  const auto tolerant = [&](const char* name, int calls, auto make) {
    Print(name, calls, zeros, [=](SplitMix64& random, Digest& digest) {
      const double tolerance = random.OneIn(3) ? 0.05 : 0.3 * random.Unit();
      Add(digest, make(RandomMode(random, 0.3), tolerance));
    });
  };
  design("zv", 300, Zv);
  design("zvd", 300, Zvd);
  design("zvdd", 300, Zvdd);
  design("mzv", 300, Mzv);
  design("um_zv", 60, UmZv);
  design("um_zvd", 60, UmZvd);
  tolerant("ei", 40, Ei);
  tolerant("two_hump_ei", 30, TwoHumpEi);
  tolerant("three_hump_ei", 20, ThreeHumpEi);
  Print("specified_insensitivity", 6, zeros, [](SplitMix64& random, Digest& digest) {
    const VibrationMode mode = RandomMode(random, 0.2);
    const double half_width = 0.02 + 0.2 * random.Unit();
    Add(digest, SpecifiedInsensitivity(mode, mode.frequency_hz * (1.0 - half_width),
                                       mode.frequency_hz * (1.0 + half_width), 0.05));
  });
  Print("analysis", 200, zeros, [](SplitMix64& random, Digest& digest) {
    const ImpulseSequence sequence = RandomSequence(random);
    const VibrationMode mode = RandomMode(random, 0.5);
    digest.Add(ResidualVibration(sequence, mode));
    AddArray(digest, ResidualOverFrequency(sequence, mode, Vector::Constant(3, 20.0 * random.Unit())));
    AddArray(digest, ResidualOverDamping(sequence, mode, Vector::Constant(3, random.Unit())));
    const InsensitivityBand band = Insensitivity(Zvd(mode), mode, 0.01 + 0.3 * random.Unit());
    digest.Add(band.low_hz);
    digest.Add(band.high_hz);
    digest.Add(band.width);
  });
  for (const ResamplingMethod method : {ResamplingMethod::linear, ResamplingMethod::cubic}) {
    const bool linear = method == ResamplingMethod::linear;
    Print(linear ? "shape_linear" : "shape_cubic", 60, zeros, [=](SplitMix64& random, Digest& digest) {
      const JointTrajectory raw = RandomTrajectory(random);
      std::vector<ImpulseSequence> sequences{RandomSequence(random)};
      while (random.OneIn(2) && static_cast<Eigen::Index>(sequences.size()) < raw.positions.cols()) {
        sequences.push_back(RandomSequence(random));
      }
      sequences.resize(static_cast<Eigen::Index>(sequences.size()) == raw.positions.cols() ? sequences.size() : 1,
                       sequences.front());
      const ShapedCommand shaped = ShapeTrajectory(raw, sequences, 0.01, method);
      Add(digest, shaped);
      digest.Add(PathDeviation(raw, shaped));
      Add(digest, BlendShapedTrajectory(raw, shaped, random.Unit()));
      Add(digest, BlendShapedTrajectory(raw, shaped, WeightTransition{random.Unit(), random.Unit()}));
      const Vector weights = Vector::Constant(raw.time.size(), random.Unit());
      Add(digest, BlendShapedTrajectory(raw, shaped, weights));
    });
  }
  Print("streaming", 60, zeros, [](SplitMix64& random, Digest& digest) {
    const JointTrajectory raw = RandomTrajectory(random);
    StreamingShaper shaper(RandomSequence(random), raw.positions.cols(), 0.004);
    for (Eigen::Index i = 0; i < raw.positions.rows(); ++i) {
      const Vector row = raw.positions.row(i).transpose();
      AddArray(digest, shaper.Step({row, row, row}).position);
    }
    while (!shaper.AtRest()) AddArray(digest, shaper.StepTail().velocity);
  });
  return 0;
}
