# Sourced by the tools: puts Debian packages in place.

# Installs those of the packages that are missing; where that is not possible, names them and stops.
require_packages() {
    missing=
    for package in "$@"; do
        status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
        [ "$status" = "install ok installed" ] || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" = 0 ]; then
        as_root=
    elif command -v sudo >/dev/null 2>&1; then
        as_root=sudo
    else
        echo "These packages are missing, and only root can install them:$missing" >&2
        echo "  apt-get install$missing" >&2
        exit 1
    fi
    if ! command -v apt-get >/dev/null 2>&1; then
        echo "These packages are missing, by their Debian names:$missing" >&2
        exit 1
    fi
    echo "Installing:$missing"
    $as_root apt-get -qq update
    # shellcheck disable=SC2086 # a list of names
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends $missing >/dev/null
}
