# In the guest: what memory costs, measured by hand. Argument: the folder of the build.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd) build=$1 way=xhci
. "$here/common.sh"
echo 400 >/sys/module/usbcore/parameters/usbfs_memory_mb
for _ in 1 2 3 4 5 6 7 8 9 10; do
    "$tavix" list 2>/dev/null | grep -q VC-1300 && break
    sleep 0.5
done
"$build/bin/bench_kernel_memory"
