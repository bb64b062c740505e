#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then builds and runs a tiny
# C program against it twice: through find_package(xvosc) and through pkg-config.
set -euo pipefail
build=$1 consumer=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$consumer" -B "$work/cm" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cm" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib" "$work/cm/consumer"
libdir=$(ls -d "$work"/prefix/lib* | head -n1)
export PKG_CONFIG_PATH="$libdir/pkgconfig"
sed -i "s|^prefix=.*|prefix=$work/prefix|" "$libdir/pkgconfig/xvosc.pc"
cc -std=c99 -Wall -Werror "$consumer/main.c" $(pkg-config --cflags --libs xvosc) -o "$work/pc_consumer"
LD_LIBRARY_PATH="$libdir" "$work/pc_consumer"
echo "consumers built with find_package and pkg-config"
