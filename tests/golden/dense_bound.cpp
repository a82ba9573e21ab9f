// Measures how far results of the dense solve lie apart between two builds, where they cannot be equal to the bit.
//   velmora_dense_bound write FILE     the second derivatives at the knots, for every spline of the dense families
//   velmora_dense_bound compare FILE   their largest distance from those of another build, per family
// The distance is counted in units in the last place of each joint's largest second derivative.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "calls/random_calls.hpp"
#include "golden/corpus.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;

Matrix KnotSecondDerivatives(const Call& call) {
  const MakeTrajectory& trajectory = std::get<Resample>(call).trajectory;
  const Vector& x = *trajectory.time;
  const Vector h = x.tail(x.size() - 1) - x.head(x.size() - 1);
  return util::timing::SolveKnotSecondDerivatives(h, trajectory.positions);
}

double UnitInTheLastPlace(double value) {
  const double magnitude = std::abs(value);
  return std::nextafter(magnitude, INFINITY) - magnitude;
}

struct Distance {
  std::size_t systems = 0;
  std::size_t equal = 0;
  std::size_t only_one_finite = 0;
  double largest_ulp = 0.0;

  void Add(const Matrix& here, const Matrix& there) {
    ++systems;
    if (here.allFinite() != there.allFinite()) {
      ++only_one_finite;
    } else if (!here.allFinite() || here == there) {
      ++equal;
    } else {
      for (Eigen::Index j = 0; j < here.cols(); ++j) {
        const double unit = UnitInTheLastPlace(there.col(j).cwiseAbs().maxCoeff());
        largest_ulp = std::max(largest_ulp, (here.col(j) - there.col(j)).cwiseAbs().maxCoeff() / unit);
      }
    }
  }
};

void Write(std::ostream& file, const Matrix& m) {
  file.write(reinterpret_cast<const char*>(m.data()), static_cast<std::streamsize>(sizeof(double)) * m.size());
}

Matrix Read(std::istream& file, const Matrix& like) {
  Matrix m(like.rows(), like.cols());
  file.read(reinterpret_cast<char*>(m.data()), static_cast<std::streamsize>(sizeof(double)) * m.size());
  return m;
}

int Run(std::string_view mode, const std::string& path) {
  std::fstream file(path, std::ios::binary | (mode == "write" ? std::ios::out : std::ios::in));
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    const std::string_view name = CallFamilies()[family].name;
    if (name.find("resample_cubic/dense") != 0) continue;
    Distance distance;
    for (std::size_t index = 0; index < kCasesPerFamily; ++index) {
      const Matrix m = KnotSecondDerivatives(GoldenCall(family, index));
      if (mode == "write") {
        Write(file, m);
      } else {
        distance.Add(m, Read(file, m));
      }
    }
    if (mode == "compare") {
      std::cout << name << ": " << distance.equal << " of " << distance.systems << " systems equal, "
                << distance.only_one_finite << " finite in one build only, others within " << distance.largest_ulp
                << " ulp\n";
    }
  }
  return file ? 0 : 1;
}

}  // namespace
}  // namespace velmora::testing

int main(int argc, char** argv) { return argc == 3 ? velmora::testing::Run(argv[1], argv[2]) : 2; }
