"""Save images of one moment from all cameras into one file."""
import numpy
import tavix

with tavix.group() as group:
    names = [camera.info.serial for camera in group]
    pictures = {name: [] for name in names}
    times = []
    for images in group.grab(10):
        if not images.is_complete:
            print("left out:", [gap for gap in images.gaps if gap])
            continue
        times.append([image.host_time.real_ns for image in images])
        for name, image in zip(names, images):
            pictures[name].append(image.array.copy())

numpy.savez("cameras.npz", times=times, **{f"camera_{name}": stack for name, stack in pictures.items()})
print(f"{len(times)} sets of {len(names)} cameras in cameras.npz")
