"""A session in Python: joins the frames given as PGM files (P5, 8 bits) and writes the picture to map.pgm."""

import re
import sys

import brantel
import numpy as np


def load(name):
    """The pixels of a file; None when it is none of the kind."""
    with open(name, "rb") as file:
        data = file.read()
    header = re.match(rb"P5\s(\d+)\s(\d+)\s255\s", data)
    if header is None:
        return None
    columns, rows = int(header[1]), int(header[2])
    pixels = np.frombuffer(data, np.uint8, offset=header.end())
    return pixels[: rows * columns].reshape(rows, columns) if 0 < rows * columns <= pixels.size else None


def save(picture):
    with open("map.pgm", "wb") as file:
        file.write(b"P5 %d %d 255\n" % (picture.shape[1], picture.shape[0]))
        file.write(picture.tobytes())


def main(names):
    session = None
    for name in names:
        frame = load(name)
        if session is None and frame is not None:
            session = brantel.Session(columns=frame.shape[1], rows=frame.shape[0])
        if frame is None or frame.shape != (session.rows, session.columns):
            print(f"{name}: not used")
            continue
        answer = session.add(frame)
        print(f"{name}: {brantel.state_text(answer.state)} at {answer.x}, {answer.y}")
    if session is None:
        return 1
    with session:
        save(session.picture())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
