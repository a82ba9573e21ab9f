# SPDX-License-Identifier: Apache-2.0
"""Ring-downs of two modes with noise, identified: the errors, and whether the intervals hold the truth.

python simulated_ring_downs.py [CASES]     share of the 95 % intervals that do, per quantity; 2,000 cases by default
"""

import itertools
import sys
from collections.abc import Iterable

import numpy as np
from numpy.typing import NDArray
from velmora.identify import identify_modes

Array = NDArray[np.float64]
Modes = tuple[tuple[float, float, float], ...]

TWO_MODES: Modes = ((5.0, 0.02, 1.0), (12.0, 0.05, 0.5))


def ring_down(t: Array, modes: Modes, rng: np.random.Generator) -> Array:
    """Damped sinusoids (frequency, damping, amplitude) at random phases, by a rotating phasor."""
    total = np.zeros(t.size)
    for frequency, damping, amplitude in modes:
        w = 2.0 * np.pi * frequency
        pole = w * (-damping + 1j * np.sqrt(1.0 - damping**2))
        total += (amplitude * np.exp(1j * rng.uniform(0.0, 2.0 * np.pi)) * np.exp(pole * t)).real
    return total


def errors_and_hits(seeds: Iterable[int], noise: str, jitter: float = 0.0) -> tuple[Array, Array]:
    """Absolute errors, and whether the interval holds the truth, of frequency, damping, amplitude of both modes."""
    errors, hits = [], []
    for seed in seeds:
        rng = np.random.default_rng(seed)
        t = (np.arange(500) + rng.uniform(-jitter, jitter, 500)) / 250.0
        clean = ring_down(t, TWO_MODES, rng)
        size = 0.01 * np.sqrt(np.mean(clean**2)) if noise == "rms" else 0.1 * np.max(np.abs(clean))
        found = identify_modes(t, rng.uniform(-1.0, 1.0) + clean + size * rng.standard_normal(500), start_s=-1.0)
        assert len(found.modes) == 2, f"seed {seed}"
        estimates = [(m.frequency_hz, m.damping_ratio, m.amplitude) for m in found.modes]
        at_start = [(f, z, a * np.exp(-z * 2.0 * np.pi * f * t[0])) for f, z, a in TWO_MODES]
        pairs = list(zip(itertools.chain(*estimates), itertools.chain(*at_start), strict=True))
        errors.append([abs(estimate.value - truth) for estimate, truth in pairs])
        hits.append([estimate.low <= truth <= estimate.high for estimate, truth in pairs])
    return np.array(errors), np.array(hits)


def main() -> None:
    cases = int(sys.argv[1]) if len(sys.argv) > 1 else 2000
    for noise, words in (("rms", "1 % of the rms"), ("peak", "10 % of the peak")):
        _, hits = errors_and_hits(range(cases), noise)
        shares = " ".join(f"{share:.3f}" for share in hits.mean(axis=0))
        print(f"noise of {words}: frequency, damping, amplitude at 5 Hz, then at 12 Hz: {shares}", flush=True)


if __name__ == "__main__":
    main()
