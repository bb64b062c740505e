/* A minimal C99 user of the library: encodes a synthetic tone with G.726 at
 * 32 kbit/s, decodes it again and prints the signal-to-noise ratio.
 * Build against an installed tree with
 *   cc -std=c99 g726_roundtrip.c $(pkg-config --cflags --libs xvosc) -lm */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "xvosc.h"

enum { N = 8000 };

int main(void) {
    Xvo16s* pcm = malloc(N * sizeof *pcm);
    Xvo16s* out = malloc(N * sizeof *out);
    Xvo8u* codes = malloc(N);
    Xvo32s encSize = 0, decSize = 0;
    void *enc, *dec;
    double sig = 0.0, err = 0.0;
    int i;

    if (!pcm || !out || !codes) return 1;
    for (i = 0; i < N; ++i) /* 14-bit uniform PCM, as the codec takes it */
        pcm[i] = (Xvo16s)(3000.0 * sin(2.0 * 3.14159265 * 440.0 * i / 8000.0));

    xvosEncodeGetStateSize_G726_16s8u(&encSize);
    xvosDecodeGetStateSize_G726_8u16s(&decSize);
    enc = malloc((size_t)encSize);
    dec = malloc((size_t)decSize);
    if (!enc || !dec) return 1;
    if (xvosEncodeInit_G726_16s8u(enc, XVO_BITRATE_32000) != xvoStsOk ||
        xvosDecodeInit_G726_8u16s(dec, XVO_BITRATE_32000, XVO_PCM_LINEAR) != xvoStsOk ||
        xvosEncode_G726_16s8u(enc, pcm, codes, N) != xvoStsOk ||
        xvosDecode_G726_8u16s(dec, codes, out, N) != xvoStsOk) {
        fprintf(stderr, "g726_roundtrip: a call failed\n");
        return 1;
    }
    for (i = 0; i < N; ++i) {
        sig += (double)pcm[i] * pcm[i];
        err += (double)(pcm[i] - out[i]) * (pcm[i] - out[i]);
    }
    printf("G.726 32 kbit/s round trip of a 440 Hz tone: SNR %.1f dB\n", 10.0 * log10(sig / (err + 1e-9)));
    free(pcm);
    free(out);
    free(codes);
    free(enc);
    free(dec);
    return 0;
}
