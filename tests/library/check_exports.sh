#!/usr/bin/env bash
# Fails when libxvosc exports a name without the xvos/xvosc prefix, or
# libxvocore one outside xvo*/ownGetNumThreads.
set -euo pipefail
lib=$1 core=$2
bad=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | grep -v -E '^xvosc?[A-Z]' || true)
if [ -n "$bad" ]; then echo "unexpected exports in $lib:"; echo "$bad"; exit 1; fi
count=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/' | wc -l)
bad=$(nm -D --defined-only "$core" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | grep -v -E '^(xvo[A-Z]|ownGetNumThreads$)' || true)
if [ -n "$bad" ]; then echo "unexpected exports in $core:"; echo "$bad"; exit 1; fi
echo "exports ok: $count names in $(basename "$lib")"
