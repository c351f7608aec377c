# Sourced by the tests with foreign programs. need_packages NAME... installs what is missing, or skips the test with a
# line that says why.

skip() {
    echo "SKIPPED: $(basename "$0"): $*" >&2
    exit 77
}

need_packages() {
    local package missing=() as_root=()
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    command -v apt-get >/dev/null || skip "no apt-get to install ${missing[*]} with"
    [ "$(id -u)" -eq 0 ] || as_root=(sudo -n)
    local install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get install -y --no-install-recommends "${missing[@]}")
    "${install[@]}" >/dev/null 2>&1 && return 0
    "${as_root[@]}" apt-get update >/dev/null 2>&1
    "${install[@]}" >/dev/null 2>&1 || skip "cannot install ${missing[*]}"
}
