"""Calibrate a camera with NumPy alone: gain (e-/DN), noise and flat field, from pairs of images at rising exposure.

Show the camera an even light. Photon noise grows with the light, so the slope of variance over mean is the gain.
"""
import numpy
import tavix


def pair(camera):
    first, second = (image.convert("Mono16").array.astype(float) for image in camera.grab(2))
    noise = first - second  # what both have in common is none
    likeness = (noise[:, 1:] * noise[:, :-1]).mean() / max(noise.var(), 1e-9)
    return (first + second) / 2, noise.var() / 2, likeness


with tavix.open() as camera:
    exposure = camera.feature("ExposureTime")
    longest = min(exposure.max, 20000.0)  # us
    means, variances, flats, likenesses = [], [], [], []
    for time in numpy.linspace(longest / 8, longest, 8):
        exposure.set_nearest(time)
        flat, variance, likeness = pair(camera)
        means.append(flat.mean())
        variances.append(variance)
        flats.append(flat)
        likenesses.append(likeness)

slope, offset = numpy.polyfit(means, variances, 1)
flat = numpy.mean(flats, axis=0)
gains = flat.mean() / numpy.maximum(flat, 1)  # multiply an image by these to make it even
numpy.savez("calibration.npz", means=means, variances=variances, gains=gains)
if max(likenesses) > 0.3:
    print("gain unknown: neighbouring pixels change alike, so the scene or the light moves")
elif slope <= 0:
    print("gain unknown: no noise grows with the light")
else:
    print(f"gain {1 / slope:.2f} e-/DN, variance at no light {offset:.2f} DN^2")
print(f"flat field from {gains.min():.3f} to {gains.max():.3f}")
