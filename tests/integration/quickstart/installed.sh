#!/usr/bin/env bash
# installed.sh BUILD SOURCE PAGE: follows a quick start on this machine as if the packages were
# installed, in a private mount namespace. Exits with 77 where there can be none.
set -euo pipefail

build=$1 source=$2 page=$3
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(--map-root-user)
unshare --mount "${as_root[@]}" true 2>/dev/null || { echo "no private mount namespace"; exit 77; }

# shellcheck disable=SC2016  # expanded by the inner shell
exec unshare --mount "${as_root[@]}" --propagation private bash -euc '
    mount -t tmpfs quickstart /usr/local
    mount -t tmpfs quickstart /usr/share/doc
    mkdir /usr/share/doc/znpolicy-doc
    cp -R "$1/examples" /usr/share/doc/znpolicy-doc
    cmake --install "$0" --prefix /usr/local >/dev/null
    cache=$(mktemp)
    trap "rm -f $cache" EXIT
    ldconfig -C "$cache"
    mount --bind "$cache" /etc/ld.so.cache
    export PATH=/usr/local/bin:$PATH
    unset ZN_POLICY_STORE ZN_LOG_FILE ZN_LOG_LEVEL ZN_PROCESS_DIRECTORY
    "$1/tests/integration/quickstart/follow.sh" "$2"' "$build" "$source" "$page"
