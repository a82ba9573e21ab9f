# SPDX-License-Identifier: Apache-2.0
"""How many damped sinusoids a stretch of samples holds, and which."""

import numpy as np
from numpy.typing import NDArray

from velmora._damped_sinusoids import NO_POLES, Fit, Poles, fit, project
from velmora._matrix_pencil import SignalSpace

Array = NDArray[np.float64]

# Residuals this far below the signal are rounding, not information about further modes.
_RELATIVE_FLOOR = 1e-9
# Of the cost between two steps of a fit: enough to compare fits.
_TOLERANCE = 1e-6


def score(found: Fit, values: Array) -> float:
    """The Bayesian information criterion of a fit: less is better.

    G. Schwarz, "Estimating the dimension of a model", Ann. Statist. 6 (1978) 461-464.
    """
    total = values.size
    spread = float(np.sum((values - values.mean(axis=0)) ** 2))
    floor = spread * _RELATIVE_FLOOR**2
    parameters = found.poles.parameters.size + found.poles.linear_count * values.shape[1]
    return float(total * np.log((found.sse + floor) / total + np.finfo(float).tiny) + parameters * np.log(total))


def search(times_s: Array, values: Array, step_s: float, max_modes: int) -> Fit:
    """The fit of least `score` for evenly sampled `values` (N, J): oscillations, transients and a constant.

    Orders of the pencil are tried in turn, components that do not pay are dropped, the best set is fitted, and what is
    left is searched once more, since a weak mode next to a strong one shows only there.
    """
    weights = np.ones(values.shape[1])
    space = SignalSpace(values - values.mean(axis=0))
    best = project(times_s, values, weights, NO_POLES)
    for order in range(1, 2 * max_modes + 4):
        poles = _as_poles(space.poles(order), step_s, float(times_s[-1]), max_modes)
        candidate = _pruned(times_s, values, weights, project(times_s, values, weights, poles))
        if score(candidate, values) < score(best, values):
            best = candidate
    max_omega = np.pi / step_s
    best = _pruned(times_s, values, weights, fit(times_s, values, weights, best.poles, max_omega, _TOLERANCE))
    best = fit(times_s, values, weights, best.poles, max_omega, _TOLERANCE)
    while best.poles.decays.size < max_modes:
        fuller = _extended(times_s, values, step_s, best)
        if fuller is None or score(fuller, values) >= score(best, values):
            break
        best = fuller
    return best


def _extended(times_s: Array, values: Array, step_s: float, found: Fit) -> Fit | None:
    """One more oscillation, taken from the residuals."""
    space = SignalSpace(found.residuals)
    weights = np.ones(values.shape[1])
    best: Fit | None = None
    for order in (2, 3, 4):
        poles = _as_poles(space.poles(order), step_s, float(times_s[-1]), order)
        for k in range(poles.decays.size):
            one = Poles(poles.decays[k : k + 1], poles.omegas[k : k + 1], np.empty(0))
            candidate = project(times_s, values, weights, found.poles.joined(one))
            if best is None or candidate.sse < best.sse:
                best = candidate
    return None if best is None else fit(times_s, values, weights, best.poles, np.pi / step_s, _TOLERANCE)


def _as_poles(z: NDArray[np.complex128], step_s: float, span_s: float, max_modes: int) -> Poles:
    """Continuous poles: pairs as oscillations, the least decaying first; real ones as creeps but for the constant."""
    s = np.log(z[np.abs(z) > 1e-6]) / step_s
    decays = np.maximum(-s.real, -0.5 / span_s)
    swinging = (s.imag > 0.5 / span_s) & (s.imag < 0.999 * np.pi / step_s)
    creeping = (s.imag == 0.0) & (decays > 0.5 / span_s)
    order = np.argsort(decays[swinging])[:max_modes]
    return Poles(decays[swinging][order], s.imag[swinging][order], np.sort(decays[creeping])[:1])


def _pruned(times_s: Array, values: Array, weights: Array, found: Fit) -> Fit:
    """Without the components that cost more parameters than they explain."""
    while found.poles.count > 0:
        fewer = [project(times_s, values, weights, found.poles.without(k)) for k in range(found.poles.count)]
        least = min(fewer, key=lambda candidate: candidate.sse)
        if score(least, values) >= score(found, values):
            break
        found = least
    return found
