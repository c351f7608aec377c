"""Show the histogram of the newest image, again and again: in a terminal, so that it needs no window."""
import sys

import numpy
import tavix

BINS, COLUMNS = 16, 60
count = int(sys.argv[1]) if len(sys.argv) > 1 else 0  # without a number: until Ctrl-C

with tavix.open() as camera:
    camera.PixelFormat = "Mono8"
    try:
        for image in camera.grab(count, newest_only=True):
            heights, _ = numpy.histogram(image.array, bins=BINS, range=(0, 256))
            print(f"image {image.number}: mean {image.array.mean():.1f}, {(image.array == 255).mean():.1%} saturated")
            for level, height in enumerate(heights):
                print(f"{level * 256 // BINS:4d} {'#' * int(COLUMNS * height / heights.max())}")
    except KeyboardInterrupt:
        pass
