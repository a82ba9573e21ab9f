// The check that contenders compute the same thing.
// SPDX-License-Identifier: Apache-2.0
#include "agreement.hpp"

#include <fmt/format.h>

#include <stdexcept>

namespace velmora::benchmarks {

using native::Matrix;

void RequireAgreement(const std::string& what, const Eigen::Ref<const Matrix>& ours,
                      const Eigen::Ref<const Matrix>& theirs) {
  if (ours.rows() != theirs.rows() || ours.cols() != theirs.cols()) throw std::runtime_error(what + ": shapes differ");
  const double difference = (ours - theirs).cwiseAbs().maxCoeff();
  if (!(difference <= 1e-9 * ours.cwiseAbs().maxCoeff())) {
    throw std::runtime_error(fmt::format("{}: results differ by up to {:.3g}", what, difference));
  }
}

void RequireAgreementInside(const std::string& what, const Matrix& ours, const Matrix& theirs) {
  if (ours.rows() != theirs.rows()) throw std::runtime_error(what + ": shapes differ");
  const Eigen::Index quarter = ours.rows() / 4;
  RequireAgreement(what, ours.middleRows(quarter, 2 * quarter), theirs.middleRows(quarter, 2 * quarter));
}

}  // namespace velmora::benchmarks
