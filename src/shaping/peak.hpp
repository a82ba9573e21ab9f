// The largest value of a function with one peak between two places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velmora::shaping {

struct Peak {
  double place;
  double value;
};

/// By golden section, in a fixed number of steps that narrow the place to half the digits; the value then has nearly
/// all. J. Kiefer, "Sequential minimax search for a maximum", Proceedings of the American Mathematical Society 4
/// (1953).
template <typename Function>
Peak PeakBetween(const Function& function, double low, double high) {
  constexpr double kGoldenShare = 0.6180339887498949;
  constexpr int kSteps = 45;
  double left = high - kGoldenShare * (high - low);
  double right = low + kGoldenShare * (high - low);
  double left_value = function(left);
  double right_value = function(right);
  for (int step = 0; step < kSteps; ++step) {
    if (left_value < right_value) {
      low = left;
      left = right;
      left_value = right_value;
      right = low + kGoldenShare * (high - low);
      right_value = function(right);
    } else {
      high = right;
      right = left;
      right_value = left_value;
      left = high - kGoldenShare * (high - low);
      left_value = function(left);
    }
  }
  return left_value < right_value ? Peak{right, right_value} : Peak{left, left_value};
}

}  // namespace velmora::shaping
