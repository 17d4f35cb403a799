"""The NumPy side of the benchmarks: reads a volume from standard input, then commands, one a line.

    REDUCTION AXIS FIRST END [whole]    max, min or mean of the samples FIRST to END - 1 along z, y or x, without
                                        the outermost samples of the other two axes unless whole; answers with
                                        seconds
    picture                             answers with the last result as 32-bit floats
"""

import sys
import time

import numpy as np


def mean(part, axis):
    return np.rint(part.sum(axis=axis, dtype=np.int32) / part.shape[axis]).astype(np.int16)


REDUCTIONS = {"max": np.max, "min": np.min, "mean": mean}
AXES = {"z": 0, "y": 1, "x": 2}


def main():
    shape = [int(word) for word in sys.stdin.buffer.readline().split()]
    count = shape[0] * shape[1] * shape[2]
    volume = np.empty(count, dtype=np.int16)
    view = memoryview(volume).cast("B")
    done = 0
    while done < len(view):
        done += sys.stdin.buffer.readinto(view[done:])
    volume = volume.reshape(shape)
    out = sys.stdout.buffer
    out.write(f"NumPy {np.__version__}\n".encode())
    out.flush()
    result = None
    for line in sys.stdin.buffer:
        words = line.decode().split()
        if words[0] == "picture":
            pixels = np.ascontiguousarray(result, dtype=np.float32)
            out.write(f"{pixels.size}\n".encode())
            out.write(pixels.tobytes())
        else:
            reduce, axis = REDUCTIONS[words[0]], AXES[words[1]]
            margin = 0 if words[-1] == "whole" else 1
            inner = [slice(margin, n - margin) for n in shape]
            inner[axis] = slice(int(words[2]), int(words[3]))
            part = volume[tuple(inner)]
            start = time.perf_counter()
            result = reduce(part, axis=axis)
            out.write(f"{time.perf_counter() - start:.9f}\n".encode())
        out.flush()


main()
