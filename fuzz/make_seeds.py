# SPDX-License-Identifier: Apache-2.0
# Writes the seed corpora of the fuzzers: the edge cases of every routine as bytes, and of recordings as text.
#   fuzz/make_seeds.py DIRECTORY
import itertools
import pathlib
import sys

root = pathlib.Path(sys.argv[1])


def write(target, name, data):
    directory = root / target
    directory.mkdir(parents=True, exist_ok=True)
    (directory / name).write_bytes(data)


# See ReadCall in routines.cpp: the routine, then its sizes, then where arrays come from and their values. The values
# are the special ones of ByteReader::Value by number: 0, -0, 1, -1, 0.5, NaN, both infinities, the smallest, the
# largest ...
for routine, samples, joints in itertools.product(range(14), (0, 1, 2, 3, 4, 5, 33, 60), (0, 1, 3, 7)):
    for value in (2, 5, 10, 100):
        array = bytes([0, 3, value, 120, 9, 140, 80, 3])
        write("routines", f"{routine}_{samples}_{joints}_{value}", bytes([routine, samples, joints, 0]) + array * 4)

# See Compare in knots.cpp: knots, joints, values of the steps, whether they are taken as steps, start, values.
for knots, joints, step in itertools.product((0, 1, 2, 3, 31, 87, 120), (0, 2), (2, 8, 12, 13, 100, 200)):
    write(
        "knots",
        f"{knots}_{joints}_{step}",
        bytes([knots, joints, 4, step, 120, 9, step, 100, 1, 0, 0, 0, 5, 70, 33, 150, 7, 90]),
    )

header = "time_s,shoulder,elbow\n"
recordings = {
    "plain": header + "0,1,2\n0.1,1.5,2.5\n",
    "crlf_and_mark": "\ufeff" + header.replace("\n", "\r\n") + "0,1,2\r\n",
    "quoted": '"time_s","a ""b"", c",d\n0,"1",2\n',
    "comments": "# recorded\n\n" + header + "# none\n0,1,2\n",
    "blanks": " time_s , a \n 0 , 1e-320 \n 1 ,-0.0\n",
    "time_in_the_middle": "a,time_s,b\n1,0,2\n1,1,2\n",
    "no_time": "a,b\n1,2\n",
    "twice": "time_s,a,a\n0,1,2\n",
    "not_a_number": header + "0,nan,2\n",
    "infinite": header + "0,1e999,2\n",
    "short_line": header + "0,1\n",
    "long_line": header + "0,1,2,3\n",
    "repeated_time": header + "0,1,2\n0,1,2\n",
    "hexadecimal": header + "0x1p3,1,2\n",
    "open_quote": header + '0,"1,2\n',
    "no_samples": header,
    "nothing": "",
}
for name, text in recordings.items():
    write("recording", name, text.encode())

# See Analyse and ShapeAndStream in shaping.cpp: which of them, mode, design, tolerance, samples, joints.
for routine, design, frequency, damping in itertools.product((0, 1), range(10), (8, 40), (0, 15, 90)):
    write(
        "shaping",
        f"{routine}_{design}_{frequency}_{damping}",
        bytes([routine, 0, frequency, damping, design, 0, 25, 30, 3, 0, 9, 5, 120, 9, 140, 80, 3, 100, 50, 2, 60]),
    )
