# SPDX-License-Identifier: Apache-2.0
"""Least-squares fit of damped sinusoids with common poles, and the covariance of what it found."""

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray
from scipy.linalg import solve_toeplitz
from scipy.optimize import least_squares

Array = NDArray[np.float64]


@dataclass(frozen=True)
class Poles:
    """Decay rates (1/s) and damped angular frequencies (rad/s) of oscillations, and decay rates of transients that do
    not swing.

    A constant is always a further pole, at zero.
    """

    decays: Array
    omegas: Array
    creeps: Array

    @property
    def parameters(self) -> Array:
        return np.concatenate([self.decays, self.omegas, self.creeps])

    @property
    def linear_count(self) -> int:
        return 2 * self.decays.size + self.creeps.size + 1

    def replaced(self, parameters: Array) -> "Poles":
        n = self.decays.size
        return Poles(parameters[:n], parameters[n : 2 * n], parameters[2 * n :])

    def joined(self, other: "Poles") -> "Poles":
        return Poles(
            np.concatenate([self.decays, other.decays]),
            np.concatenate([self.omegas, other.omegas]),
            np.concatenate([self.creeps, other.creeps]),
        )

    def without(self, index: int) -> "Poles":
        """Without the oscillation `index`, or without a creep where the index runs past the oscillations."""
        n = self.decays.size
        if index < n:
            return Poles(np.delete(self.decays, index), np.delete(self.omegas, index), self.creeps)
        return Poles(self.decays, self.omegas, np.delete(self.creeps, index - n))

    @property
    def count(self) -> int:
        return self.decays.size + self.creeps.size


NO_POLES = Poles(np.empty(0), np.empty(0), np.empty(0))


@dataclass(frozen=True)
class Fit:
    """Poles, their amplitudes (linear_count, J), the residuals (N, J), and the weighted sum of their squares."""

    poles: Poles
    coefficients: Array
    residuals: Array
    sse: float


def basis(times_s: Array, poles: Poles) -> Array:
    """Columns exp(-a t) cos(w t) of all oscillations, exp(-a t) sin(w t), exp(-b t) of the creeps, and 1."""
    envelopes = np.exp(-np.outer(times_s, poles.decays))
    angles = np.outer(times_s, poles.omegas)
    creeps = np.exp(-np.outer(times_s, poles.creeps))
    return np.hstack([envelopes * np.cos(angles), envelopes * np.sin(angles), creeps, np.ones((times_s.size, 1))])


def project(times_s: Array, values: Array, weights: Array, poles: Poles) -> Fit:
    """The best amplitudes at given poles."""
    columns = basis(times_s, poles)
    coefficients: Array = np.linalg.lstsq(columns, values, rcond=None)[0].astype(np.float64)
    residuals = values - columns @ coefficients
    return Fit(poles, coefficients, residuals, float(np.sum((residuals * weights) ** 2)))


def derivatives(times_s: Array, poles: Poles, columns: Array, coefficients: Array) -> Array:
    """Derivatives of the model by each pole parameter at fixed amplitudes: (parameters, N, J)."""
    n = poles.decays.size
    cosines, sines, creeps = columns[:, :n], columns[:, n : 2 * n], columns[:, 2 * n : -1]
    c, s, e = coefficients[:n], coefficients[n : 2 * n], coefficients[2 * n : -1]
    t = times_s[:, None]
    by_decay = [-t * (cosines[:, k : k + 1] * c[k] + sines[:, k : k + 1] * s[k]) for k in range(n)]
    by_omega = [t * (cosines[:, k : k + 1] * s[k] - sines[:, k : k + 1] * c[k]) for k in range(n)]
    by_creep = [-t * creeps[:, k : k + 1] * e[k] for k in range(poles.creeps.size)]
    return np.array(by_decay + by_omega + by_creep)


def projected_slopes(times_s: Array, weights: Array, at: Fit) -> Array:
    """Weighted derivatives of the model by each pole parameter, the amplitudes following: (parameters, N, J)."""
    columns = basis(times_s, at.poles)
    orthogonal = np.linalg.qr(columns)[0]
    slopes: Array = derivatives(times_s, at.poles, columns, at.coefficients) * weights
    slopes -= np.einsum("ni,pij->pnj", orthogonal, np.einsum("ni,pnj->pij", orthogonal, slopes))
    return slopes


def fit(times_s: Array, values: Array, weights: Array, start: Poles, max_omega: float, tolerance: float) -> Fit:
    """Poles and amplitudes of least weighted squares, from the poles `start`.

    The amplitudes are eliminated: Golub and Pereyra, "The differentiation of pseudo-inverses and nonlinear least
    squares problems whose variables separate", SIAM J. Numer. Anal. 10 (1973) 413-432, with the Jacobian as Kaufman
    shortened it, BIT 15 (1975) 49-57. `times_s` start near 0; `values` (N, J); `weights` (J,).
    """
    if start.count == 0:
        return project(times_s, values, weights, start)
    span = float(times_s[-1])
    n = start.decays.size
    low, high = bounds(start, span, max_omega)

    def residuals(parameters: Array) -> Array:
        return (project(times_s, values, weights, start.replaced(parameters)).residuals * weights).ravel()

    def jacobian(parameters: Array) -> Array:
        at = project(times_s, values, weights, start.replaced(parameters))
        return -projected_slopes(times_s, weights, at).reshape(parameters.size, -1).T

    scale = np.full(start.parameters.size, 1.0 / span)
    inside = np.clip(start.parameters, low + 1e-9 * (high - low), high - 1e-9 * (high - low))
    found = least_squares(
        residuals,
        inside,
        jac=jacobian,
        bounds=(low, high),
        x_scale=scale,
        xtol=tolerance,
        ftol=tolerance,
        gtol=1e-15,
        max_nfev=60,
    )
    poles = start.replaced(np.asarray(found.x))
    ascending = np.argsort(poles.omegas)
    ordered = Poles(poles.decays[ascending], poles.omegas[ascending], poles.creeps) if n else poles
    return project(times_s, values, weights, ordered)


def bounds(poles: Poles, span: float, max_omega: float) -> tuple[Array, Array]:
    """Growth by e over the whole time at most, so that no damping is no edge; decay within a sample or so."""
    n, creeps = poles.decays.size, poles.creeps.size
    low = np.concatenate([np.full(n, -1.0 / span), np.full(n, 0.1 / span), np.full(creeps, 0.05 / span)])
    high = np.concatenate([np.full(n, max_omega), np.full(n, max_omega), np.full(creeps, max_omega)])
    return low, high


@dataclass(frozen=True)
class Covariances:
    """Of the pole parameters (P, P), and of the amplitudes of each column (J, linear_count, linear_count)."""

    poles: Array
    coefficients: Array


def covariances(times_s: Array, found: Fit, noise: Array) -> Covariances:
    """The inverse of the Fisher information for white noise of the standard deviations `noise` (J,) in the columns.

    There must be at least one pole besides the constant. This is the Cramer-Rao bound at the values found, see
    P. Stoica and R. L. Moses, "Spectral Analysis of Signals", Prentice Hall 2005, appendix B.
    """
    columns = basis(times_s, found.poles)
    slopes = derivatives(times_s, found.poles, columns, found.coefficients)
    inverse = np.linalg.pinv(columns)
    gains = -np.einsum("in,pnj->jip", inverse, slopes)
    projected = (slopes + np.einsum("ni,jip->pnj", columns, gains)) / noise
    flat = projected.reshape(found.poles.parameters.size, -1)
    of_poles = np.linalg.pinv(flat @ flat.T, hermitian=True)
    of_columns = np.einsum("in,kn->ik", inverse, inverse)
    of_coefficients = np.array([s**2 * of_columns + g @ of_poles @ g.T for s, g in zip(noise, gains, strict=True)])
    return Covariances(of_poles, of_coefficients)


def colour(residuals: Array, angles: Array) -> Array:
    """Spectral density of the series `residuals` at the `angles` (rad per sample), as a multiple of its variance.

    An autoregressive model by the Yule-Walker equations, its order by the Bayesian information criterion: order 0, and
    1 everywhere, for white noise. The variance of a frequency grows with the density of the noise there, not with its
    total.
    """
    count = residuals.size
    centred = residuals - residuals.mean()
    power = float(centred @ centred)
    if power == 0.0 or count < 20:
        return np.ones(angles.size)
    most = min(30, count // 10)
    lags = np.array([float(centred[k:] @ centred[: count - k]) for k in range(most + 1)]) / power
    best, score = np.empty(0), 0.0
    innovation = 1.0
    for order in range(1, most + 1):
        weights = solve_toeplitz(lags[:order], lags[1 : order + 1])
        left = max(1.0 - float(weights @ lags[1 : order + 1]), 1e-12)
        criterion = count * np.log(left) + order * np.log(count)
        if criterion < score:
            best, score, innovation = weights, criterion, left
    shifts = np.exp(-1j * np.outer(angles, np.arange(1, best.size + 1)))
    return np.asarray(innovation / np.abs(1.0 - shifts @ best) ** 2, dtype=np.float64)
