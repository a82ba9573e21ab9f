# Installs all three doors from the source's folder: the command and the Python package, and the C++ libraries.
# SPDX-License-Identifier: Apache-2.0
# [python]
./scripts/report-library    # what reports are drawn with, from npm
python3 -m venv ~/velmora && . ~/velmora/bin/activate
pip install '.[tools]'
# [python]
# [cpp]
cmake -S . -B build
cmake --build build -j "$(nproc)"
cmake --install build --prefix ~/velmora
# [cpp]
