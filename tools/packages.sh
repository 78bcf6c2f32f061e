# Sourced by the tools: puts Debian packages in place.

# Installs those of the packages that are missing; where that is not possible, names them and stops. On a system without
# Debian's packages it is for the user to have the programs in place.
require_packages() {
    command -v dpkg-query >/dev/null 2>&1 || return 0
    missing=
    for package in "$@"; do
        case $(dpkg-query -W -f='${Status} ' "$package" 2>/dev/null || true) in
            *"install ok installed"*) ;;
            *) missing="$missing $package" ;;
        esac
    done
    [ -n "$missing" ] || return 0
    as_root=
    if [ "$(id -u)" != 0 ]; then
        as_root=sudo
        command -v sudo >/dev/null 2>&1 || lacks_packages "only root can install them"
    fi
    echo "Installing:$missing" >&2
    # Under a umask of 077, what an installation makes would be for root alone.
    # shellcheck disable=SC2086 # a list of names
    $as_root env DEBIAN_FRONTEND=noninteractive sh -ec '
        umask 022
        apt-get -qq update
        apt-get -qq install -y --no-install-recommends "$@" >/dev/null' install $missing >&2 ||
        lacks_packages "they could not be installed"
}

lacks_packages() {
    echo "Packages are missing, and $1:" >&2
    echo "  apt-get install$missing" >&2
    exit 1
}
