# What the tests of the packages share. They are given BRANTEL_BUILD, BRANTEL_SOURCE, BRANTEL_VERSION and BRANTEL_PACKAGES, the
# folder of the packages.
set -euo pipefail
PATH=$PATH:/usr/sbin:/sbin

fail() {
    echo "$*" >&2
    exit 1
}

# Ends the test, as one that cannot run here, where a command is missing.
need() {
    local command
    for command in "$@"; do
        command -v "$command" >/dev/null || {
            echo "skipped: no $command (scripts/install-dependencies packages)"
            exit 77
        }
    done
}

# The whole set, or nothing where it could not be made.
packages() {
    need dpkg-deb dpkg-shlibdeps file readelf
    local name
    for name in libbrantel libbrantel-dev brantel-tools python3-brantel; do
        ls "$BRANTEL_PACKAGES/${name}_${BRANTEL_VERSION}_"*.deb
    done
}
