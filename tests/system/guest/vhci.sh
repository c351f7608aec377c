# In the guest: a camera that this project's own server attaches to the kernel. Argument: the folder of the build.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd) build=$1 way=vhci
. "$here/common.sh"
mkfifo /run/server
exec 9<>/run/server
"$tavix" --virtual "$here/../camera.json" virtual serve --vhci </run/server &
check "the tests of an application" "$build/bin/system_kernel_test"
check "events reach an application" "$build/bin/example_events"
echo quit >/run/server
wait

# The same over TCP with the tool that every Linux distribution has.
"$tavix" --virtual "$here/../camera.json" virtual serve --usbip 3240 </run/server &
ip link set lo up
attach() {
    local try
    for try in 1 2 3 4 5 6 7 8 9 10; do
        usbip attach --remote 127.0.0.1 --busid 1-1 && return 0
        sleep 0.3
    done
    return 1
}
PATH=$PATH:/usr/sbin
check "usbip lists the camera" bash -c 'for i in 1 2 3 4 5 6; do usbip list --remote 127.0.0.1 | grep -q "1-1" && exit 0; sleep 0.3; done; exit 1'
check "usbip attaches the camera" attach
check "a grab from it" "$build/bin/system_kernel_test" --gtest_filter=Kernel.StreamsFramesWithARightChecksum
check "usbip detaches it" usbip detach --port 15
echo quit >/run/server
wait
check_kernel
exit $((failures != 0))
