#!/usr/bin/env bash
# Makes sure that the Debian packages for a purpose are installed. Asks the package manager only when one is missing.
#
#   tools/ensure-packages.sh build|test|clients|lint|bench|fuzz|coverage|install...
set -euo pipefail

build=(g++ gcc libc6-dev cmake ninja-build pkg-config libxml2-dev libyang2-dev libfmt-dev nlohmann-json3-dev libcli11-dev
       libedit-dev libsqlite3-dev libmimalloc-dev libyuma-base libnetconf2-dev libssh-dev libssl-dev libcrypt-dev
       libspdlog-dev libtomlplusplus-dev)
lint=("${build[@]}" libgtest-dev libgmock-dev clang clang-format clang-tidy libyang2-tools)
test=("${lint[@]}" libclang-rt-14-dev llvm binutils python3-ncclient openssh-client)
clients=("${test[@]}" yangcli ansible)
bench=("${build[@]}" libgtest-dev libbenchmark-dev)
fuzz=("${build[@]}" libgtest-dev clang libclang-rt-14-dev llvm)
coverage=("${build[@]}" libgtest-dev libgmock-dev gcovr)
install=("${build[@]}")

packages_for() {
    case $1 in
    build | lint | test | clients | bench | fuzz | coverage | install)
        local -n list=$1
        printf '%s\n' "${list[@]}"
        ;;
    *)
        echo "ensure-packages: unknown purpose '$1'" >&2
        return 2
        ;;
    esac
}

is_installed() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

if (($# == 0)); then
    echo "usage: $0 PURPOSE..." >&2
    exit 2
fi
if ! command -v dpkg-query >/dev/null; then
    echo "ensure-packages: not a Debian system, so nothing is installed; needed are the equivalents of:" >&2
    for purpose in "$@"; do packages_for "$purpose"; done | sort -u | tr '\n' ' ' >&2
    echo >&2
    exit 0
fi

missing=()
wanted=$(for purpose in "$@"; do packages_for "$purpose"; done)
for package in $(sort -u <<<"$wanted"); do
    is_installed "$package" || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "ensure-packages: these packages are missing, and there is no sudo; as root, run:" >&2
        echo "    apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q </dev/null
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
