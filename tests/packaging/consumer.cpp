// A small stranger to the library: calls into it, takes a matrix back, and catches what it throws.
#include <cstdio>
#include <optional>
#include <string>

#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"
#include "velmora/util/timing/resampling.hpp"

int main() {
  namespace timing = velmora::util::timing;
  timing::Matrix positions(3, 1);
  positions << 0.0, 0.5, 2.0;
  const timing::Vector time = timing::Vector::LinSpaced(3, 0.0, 1.0);
  const timing::JointTrajectory recorded(positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt);
  const timing::JointTrajectory regular =
      timing::ResampleTrajectory(recorded, 0.25, timing::ParseResamplingMethod("linear"),
                                 timing::ParseResamplingTimeGridMode("exact_dt_append_endpoint"), true);
  if (regular.positions.rows() != 5 || regular.positions(1, 0) != 0.25 || regular.positions(4, 0) != 2.0) {
    std::puts("consumer: wrong positions");
    return 1;
  }
  try {
    velmora::util::Smootherstep(0.0 / (positions(0, 0)));
    std::puts("consumer: nothing was thrown");
    return 1;
  } catch (const velmora::native::InvalidArgumentError& error) {
    if (error.what() != std::string("unit_progress must be finite")) return 1;
  }
  std::puts("consumer: works");
  return 0;
}
