# SPDX-License-Identifier: Apache-2.0
"""Ends of the intervals of a mode's frequency and damping where the noise is too strong for symmetric ones."""

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from velmora._damped_sinusoids import Fit, bounds, project, projected_slopes

Array = NDArray[np.float64]

# An end is found to this share of its distance from the estimate; few steps do, since the root of the increase is
# almost linear in the parameter.
_ACCURACY = 0.01
_STEPS = 8
_REFINEMENTS = 5
# Changes of the increase that do not matter beside the 3.84 of a 95 % interval.
_NO_GAIN = 1e-3


@dataclass(frozen=True)
class Coordinate:
    """Natural angular frequency or damping ratio of the oscillation `mode` among `count`, as a function of the pole
    parameters (decays, then damped angular frequencies, then creeps)."""

    mode: int
    count: int
    is_damping: bool

    def polar(self, parameters: Array) -> tuple[float, float]:
        decay, omega = parameters[self.mode], parameters[self.count + self.mode]
        natural = float(np.hypot(decay, omega))
        return natural, float(decay) / natural

    def value(self, parameters: Array) -> float:
        return self.polar(parameters)[self.is_damping]

    def bounds(self, max_omega: float) -> tuple[float, float]:
        """Neither is negative, and an oscillation swings."""
        return (0.0, 0.999) if self.is_damping else (1e-6 * max_omega, 1e3 * max_omega)

    def gradient(self, parameters: Array) -> Array:
        natural, damping = self.polar(parameters)
        swing = np.sqrt(1.0 - damping * damping)
        by_parameters = np.zeros(parameters.size)
        at = [self.mode, self.count + self.mode]
        by_parameters[at] = np.array([swing, -damping]) * swing / natural if self.is_damping else [damping, swing]
        return by_parameters

    def held_at(self, value: float, parameters: Array) -> Array:
        """The parameters with this coordinate changed, and the other one of the mode as it is."""
        natural, damping = self.polar(parameters)
        natural, damping = (natural, value) if self.is_damping else (value, damping)
        changed = parameters.copy()
        changed[self.mode] = damping * natural
        changed[self.count + self.mode] = np.sqrt(1.0 - damping * damping) * natural
        return changed

    def free_directions(self, parameters: Array) -> Array:
        """Columns along which the parameters move while this coordinate stays: (P, P - 1)."""
        _, damping = self.polar(parameters)
        swing = np.sqrt(1.0 - damping * damping)
        along = [damping, swing] if self.is_damping else [swing, -damping]
        directions = np.delete(np.eye(parameters.size), self.count + self.mode, axis=1)
        directions[[self.mode, self.count + self.mode], self.mode] = along
        return directions


@dataclass(frozen=True)
class Profile:
    """The likelihood of a fit along one of its parameters, all others fitted anew at each value.

    An interval holds the values at which the best fit is not significantly worse. It follows the curvature of the
    model: a decay that is underestimated comes with too small a variance, so that an interval of as many standard
    deviations to either side misses the truth above it too often. The distance of a value from the estimate is the root
    of the increase of the weighted sum of squares.

    D. M. Bates and D. G. Watts, "Nonlinear Regression Analysis and Its Applications", Wiley 1988, chapter 6; the
    amplitudes are eliminated as in `fit`.
    """

    times_s: Array
    values: Array
    found: Fit
    noise: Array
    covariance: Array
    max_omega: float

    def interval(self, coordinate: Coordinate, half_width: float, distance: float) -> tuple[float, float]:
        """The values, 0 or more, at `distance` to either side; the search starts at `half_width`."""
        return self._end(coordinate, -half_width, distance), self._end(coordinate, half_width, distance)

    def _end(self, coordinate: Coordinate, reach: float, distance: float) -> float:
        estimate = coordinate.value(self.found.poles.parameters)
        limit = coordinate.bounds(self.max_omega)[reach > 0.0]
        room = abs(limit - estimate) if (limit - estimate) * reach > 0.0 else 0.0
        if room == 0.0:
            return limit
        for _ in range(_STEPS):
            reach = float(np.clip(reach, -room, room))
            ratio = distance / max(self._distance(coordinate, estimate + reach), 1e-3 * distance)
            if abs(ratio - 1.0) < _ACCURACY or (ratio > 1.0 and abs(reach) == room):
                break
            reach *= float(np.clip(ratio, 0.5, 2.0))
        return limit if abs(reach) == room else estimate + reach

    def _distance(self, coordinate: Coordinate, value: float) -> float:
        weights = 1.0 / self.noise
        least = float(np.sum((self.found.residuals * weights) ** 2))
        low, high = bounds(self.found.poles, float(self.times_s[-1]), self.max_omega)
        at_estimate = self.found.poles.parameters
        gradient = coordinate.gradient(at_estimate)
        along = self.covariance @ gradient
        moved = at_estimate + along * ((value - coordinate.value(at_estimate)) / float(gradient @ along))
        parameters = coordinate.held_at(value, np.clip(moved, low, high))
        best = project(self.times_s, self.values, weights, self.found.poles.replaced(parameters))
        for _ in range(_REFINEMENTS):
            slopes = projected_slopes(self.times_s, weights, best).reshape(parameters.size, -1)
            free = coordinate.free_directions(parameters)
            step = np.linalg.lstsq(slopes.T @ free, (best.residuals * weights).ravel(), rcond=None)[0]
            parameters = coordinate.held_at(value, np.clip(parameters + free @ step, low, high))
            better = project(self.times_s, self.values, weights, self.found.poles.replaced(parameters))
            gain = best.sse - better.sse
            best = better if gain > 0.0 else best
            if gain < _NO_GAIN:
                break
        return float(np.sqrt(max(best.sse - least, 0.0)))
