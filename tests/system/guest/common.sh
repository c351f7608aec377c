# What the guest's scripts share; they set $here, $build and $way.
tavix=$build/bin/tavix
export TAVIX_TELL_SERVER=$here/tell_$way.sh

# Prints a line and counts a failure when the command does not end with 0.
failures=0
check() { # what, command ...
    local what=$1 output
    shift
    if output=$("$@" 2>&1); then
        echo "guest: passed: $what"
    else
        echo "guest: FAILED: $what (status $?)"
        printf '%s\n' "$output" | tail -n 60
        failures=$((failures + 1))
    fi
}

# Kernel messages of trouble, which no test can see.
check_kernel() {
    if dmesg | grep -E 'BUG:|Oops|WARNING:|hung task'; then
        echo "guest: FAILED: the kernel complains"
        failures=$((failures + 1))
    fi
}
