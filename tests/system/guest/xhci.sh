# In the guest: a camera on an xHCI controller. Argument: the folder of the build.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd) build=$1 way=xhci
. "$here/common.sh"
check "the tests of an application" "$build/bin/system_kernel_test"
check "events reach an application" "$build/bin/example_events"
check "a GenTL program brings images" env TAVIX_GENTL_REAL_CAMERA=1 "$build/bin/gentl_tests" \
    --gtest_filter=GenTL.NamesTheCamera*:GenTL.DescribesEachModule:GenTLStream.BringsWholeImages*:GenTLStream.TellsTheChunks*
check "ten thousand frames through GenTL are whole" "$build/bin/system_gentl_consumer"
check_kernel
exit $((failures != 0))
