"""Save ten images of the first camera as PNG files."""
import tavix

with tavix.open() as camera:
    camera.ExposureTime = 5000.0  # us
    camera.PixelFormat = "Mono8"
    for image in camera.grab(10):
        image.save(f"image-{image.number}.png")
        print(image.number, image.array.shape, f"{image.array.mean():.1f}")
