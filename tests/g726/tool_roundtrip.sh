#!/usr/bin/env bash
# The xvosc tool end to end: the demo's G.726 stage, encode/decode round trips
# at every rate and packing (identical to the demo's decoded files), and the
# refusal of audio that is not 8 kHz mono without leaving an output file.
# usage: tool_roundtrip.sh path/to/xvosc
set -euo pipefail
X=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

"$X" --version >/dev/null
"$X" --help | grep -q "g726 encode|decode"
"$X" g726 --help | grep -q "rfc3551"

out=$("$X" demo --out "$dir/demo")
for r in 16 24 32 40; do
    echo "$out" | grep -Eq "^$r kbit/s +[0-9.-]+ +[0-9.-]+ " || { echo "no SNR line for $r kbit/s"; exit 1; }
    for p in bytes rfc3551 aal2; do
        "$X" g726 encode --rate $r --pack $p "$dir/demo/input.wav" "$dir/c.g726"
        "$X" g726 decode --rate $r --pack $p "$dir/c.g726" "$dir/d.wav"
        cmp -s "$dir/d.wav" "$dir/demo/g726_${r}k.wav" || { echo "round trip differs: $r kbit/s, $p"; exit 1; }
    done
done
# Packed sizes: 28000 samples at 2..5 bits.
"$X" g726 encode --rate 40 --pack rfc3551 "$dir/demo/input.wav" "$dir/c40.g726"
[ "$(stat -c %s "$dir/c40.g726")" -eq 17500 ] || { echo "40 kbit/s packed size"; exit 1; }

# A 16 kHz mono WAV (44-byte header, two samples) is refused, nothing written.
printf 'RIFF\x28\x00\x00\x00WAVEfmt \x10\x00\x00\x00\x01\x00\x01\x00\x80\x3e\x00\x00\x00\x7d\x00\x00\x02\x00\x10\x00data\x04\x00\x00\x00\x01\x00\x02\x00' >"$dir/w16k.wav"
if "$X" g726 encode --rate 32 "$dir/w16k.wav" "$dir/bad.g726" 2>"$dir/err"; then echo "16 kHz input accepted"; exit 1; fi
grep -q "need 8 kHz mono" "$dir/err"
[ ! -e "$dir/bad.g726" ] && [ ! -e "$dir/bad.g726.part" ] || { echo "output written on error"; exit 1; }
echo "tool round trip: ok"
