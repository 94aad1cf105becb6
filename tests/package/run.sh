#!/usr/bin/env bash
# Installs a build tree into a fresh folder, moves that folder, and builds and runs a host against it: by CMake's
# find_package, then by pkg-config.
# usage: run.sh BUILD_DIR
set -euo pipefail

build=$(cd "${1:?usage: run.sh BUILD_DIR}" && pwd)
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >"$work/install.log" || { cat "$work/install.log"; exit 1; }
mv "$work/first" "$work/prefix"
prefix=$work/prefix

# A sanitizer's runtime must be in the host too.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
compiler=$(cached CMAKE_CXX_COMPILER)
flags=(-std=c++20 -Wall -Wextra -Wpedantic -Werror)
sanitize=$(cached TESSERA_SANITIZE)
[ -z "$sanitize" ] || flags+=("-fsanitize=$sanitize")

echo "find_package"
cmake -S "$here" -B "$work/host" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="${flags[*]:1}" >"$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/host"
"$work/host/host"

echo "pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name tessera.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$compiler" "${flags[@]}" "$here/main.cpp" -o "$work/host-pc" $(pkg-config --cflags --libs tessera)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir tessera)${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} "$work/host-pc"

echo "programs"
for program in "$prefix"/bin/tessera*; do "$program" --version; done
if "$prefix/bin/tessera" --version 2>/dev/null >&-; then
    echo "output that nobody gets is taken for written" >&2
    exit 1
fi

echo "headers alone"
# Each installed header must compile by itself, and no OpenGL header may come in with them.
for header in "$prefix"/include/tessera/*.h; do
    echo "#include <tessera/$(basename "$header")>" >"$work/alone.cpp"
    "$compiler" "${flags[@]}" $(pkg-config --cflags tessera) -fsyntax-only "$work/alone.cpp"
done
echo "#include <tessera/tessera.h>" >"$work/all.cpp"
if "$compiler" -std=c++20 $(pkg-config --cflags tessera) -M "$work/all.cpp" | grep -E '[/ ](GL|EGL|GLES[0-9]*)/'; then
    echo "the headers bring an OpenGL header in" >&2
    exit 1
fi
