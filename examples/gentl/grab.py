"""Grab ten images through a GenTL producer: grab.py [FILE.cti]. Nothing but Python is needed."""
import ctypes, glob, io, os, re, sys, zipfile
from ctypes import byref, c_int32, c_size_t, c_uint32, c_uint64, c_void_p

CONTROL, NEW_BUFFER, PAYLOAD_SIZE, BASE, SIZE_FILLED, WIDTH, HEIGHT = 3, 1, 7, 0, 9, 10, 11

def call(function, *arguments):
    if code := getattr(gentl, function)(*arguments):
        text = ctypes.create_string_buffer(1024)
        gentl.GCGetLastError(byref(c_int32()), text, byref(c_size_t(len(text))))
        sys.exit(f"{function} fails with {code}: {text.value.decode()}")

def get(function, *arguments, kind=c_void_p):  # a handle, or a number
    result = kind()
    call(function, *arguments, byref(result))
    return result

def get_text(function, *arguments):
    text = ctypes.create_string_buffer(4096)
    call(function, *arguments, text, byref(c_size_t(len(text))))
    return text.value

def get_info(function, *arguments):  # a number that comes with its type
    value = c_uint64()
    call(function, *arguments, byref(c_int32()), byref(value), byref(c_size_t(8)))
    return value.value

def execute(port, command):  # for want of a GenICam library, which understands any description
    url = re.match(rb"local:/*[^;]*;(\w+);(\w+)", get_text("GCGetPortURL", port), re.I)
    file = ctypes.create_string_buffer(int(url[2], 16))
    call("GCReadPort", port, c_uint64(int(url[1], 16)), file, byref(c_size_t(len(file))))
    archive = zipfile.ZipFile(io.BytesIO(file)) if file.raw.startswith(b"PK") else None
    xml = archive.read(archive.namelist()[0]) if archive else file.raw
    node = lambda name: re.search(rb'<(\w+) [^>]*\bName="%s".*?</\1>' % name, xml, re.S)[0]
    entry = lambda node, tag: re.search(rb"<%s>\s*(\w+)" % tag, node)[1]
    register = node(entry(node(command), b"pValue"))
    data = int(entry(node(command), b"CommandValue"), 0).to_bytes(int(entry(register, b"Length"), 0), "little")
    call("GCWritePort", port, c_uint64(int(entry(register, b"Address"), 0)), data, byref(c_size_t(len(data))))

folders = os.environ.get("GENICAM_GENTL64_PATH", "").split(":")
producers = sys.argv[1:] or [file for folder in folders if folder for file in sorted(glob.glob(folder + "/*.cti"))]
if not producers:
    sys.exit("GENICAM_GENTL64_PATH names no folder with a producer")
gentl = ctypes.CDLL(producers[0])
call("GCInitLib")
system = get("TLOpen")
call("TLUpdateInterfaceList", system, None, c_uint64(1000))
cameras = []
for i in range(get("TLGetNumInterfaces", system, kind=c_uint32).value):
    interface = get("TLOpenInterface", system, get_text("TLGetInterfaceID", system, i))
    call("IFUpdateDeviceList", interface, None, c_uint64(1000))
    for k in range(get("IFGetNumDevices", interface, kind=c_uint32).value):
        cameras.append((interface, get_text("IFGetDeviceID", interface, k)))
if not cameras:
    sys.exit("there is no camera; `tavix doctor` may know why")
device = get("IFOpenDevice", *cameras[0], CONTROL)
port = get("DevGetPort", device)
stream = get("DevOpenDataStream", device, get_text("DevGetDataStreamID", device, 0))
size = get_info("DSGetInfo", stream, PAYLOAD_SIZE)
for _ in range(4):
    call("DSQueueBuffer", stream, get("DSAllocAndAnnounceBuffer", stream, c_size_t(size), None))
filled = get("GCRegisterEvent", stream, NEW_BUFFER)
call("DSStartAcquisition", stream, 0, c_uint64(-1))
execute(port, b"AcquisitionStart")
for number in range(10):
    event = (c_void_p * 2)()  # the buffer, and the pointer that it was announced with
    call("EventGetData", filled, event, byref(c_size_t(ctypes.sizeof(event))), c_uint64(5000))
    buffer = c_void_p(event[0])
    base, count, width, height = (get_info("DSGetBufferInfo", stream, buffer, what)
                                  for what in (BASE, SIZE_FILLED, WIDTH, HEIGHT))
    pixels = ctypes.string_at(base, count)
    print(f"image {number}: {width}x{height}, {count} bytes, the first is {pixels[0]}")
    call("DSQueueBuffer", stream, buffer)
execute(port, b"AcquisitionStop")
call("DSStopAcquisition", stream, 0)
for function, handle in ("DSClose", stream), ("DevClose", device), ("TLClose", system):
    call(function, handle)
call("GCCloseLib")
