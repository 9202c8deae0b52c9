# For the scripts that need Debian packages; to be sourced.

# What building and testing on Linux takes, and a renderer for the demo and its test.
# shellcheck disable=SC2034  # used by those who source this
linux_build_packages=(
    build-essential cmake ninja-build pkg-config
    libwxgtk3.2-dev libx11-dev libasio-dev librapidxml-dev
    libopenexr-dev libpng-dev libcli11-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    python3 python3-pytest python3-pytest-xdist
    povray iproute2 prometheus
    xvfb icewm xdotool x11-utils xclip
)

# What the Windows build and its tests take beyond that.
# shellcheck disable=SC2034
windows_build_packages=(
    mingw-w64 libz-mingw-w64-dev googletest dpkg-dev
    nsis zip unzip
    wine wine64 locales
)

# install_packages PACKAGE...
# Installs those that are missing. Without root, or where apt-get is missing, it names them on
# standard error and fails.
install_packages() {
    local package missing=()
    for package; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
            missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    if ! command -v apt-get >/dev/null; then
        echo "${0##*/}: this needs Debian or a system like it; there it needs: ${missing[*]}" >&2
        return 1
    fi
    if [[ $EUID -ne 0 ]]; then
        echo "${0##*/}: some packages are missing. Install them first, or run this as root:" >&2
        echo "    apt-get install --no-install-recommends ${missing[*]}" >&2
        return 1
    fi
    echo "${0##*/}: installing ${missing[*]}"
    # Somebody else's apt-get may be at work.
    local apt=(apt-get -qq -o DPkg::Lock::Timeout=300)
    "${apt[@]}" update &&
        DEBIAN_FRONTEND=noninteractive "${apt[@]}" install -y --no-install-recommends \
            "${missing[@]}" >/dev/null
}
