// The GSM-AMR SID analysis: its indices decode (mean + initial prediction + codebook rows, LSF gap
// 205, the shared LSF-to-LSP conversion) to the quantised LSPs it reports; the gain predictor
// memories follow the energy index; a clear flag with a stored index leaves everything alone.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "amr/gsmamr_tables.h"
#include "xvosc.h"

using namespace xvo::gsmamr;

TEST(GsmAmrSid, IndicesDecodeToTheReportedLspsAndEnergy) {
    std::mt19937 rng(26093);
    for (int n = 0; n < 200; ++n) {
        // A history of LSPs around a smooth spectrum, and log energies of quiet frames.
        std::array<Xvo16s, 80> hist;
        std::array<Xvo16s, 8> en;
        for (int i = 0; i < 8; ++i) {
            for (int j = 0; j < 10; ++j) {
                const double w = 3.14159 * (j + 1) / 11.5 + 0.04 * (int(rng() % 21) - 10) / 10.0;
                hist[i * 10 + j] = static_cast<Xvo16s>(32767 * std::cos(w));
            }
            en[i] = static_cast<Xvo16s>(int(rng() % 6000) - 5000);
        }
        std::array<Xvo16s, 5> sid{};
        std::array<Xvo16s, 10> pastRq{}, lspq{};
        std::array<Xvo16s, 4> qe{}, qe122{};
        ASSERT_EQ(xvosEncDTXSID_GSMAMR_16s(hist.data(), en.data(), sid.data(), pastRq.data(), lspq.data(), qe.data(),
                                           qe122.data(), 1),
                  xvoStsOk);
        ASSERT_TRUE(sid[0] >= 0 && sid[0] < 8 && sid[1] >= 0 && sid[1] < 256 && sid[2] >= 0 && sid[2] < 512 &&
                    sid[3] >= 0 && sid[3] < 512 && sid[4] >= 0 && sid[4] < 64);
        // Decoder side: the residual memory is the three rows; LSF = residual + mean + prediction.
        Xvo16s lsf[10];
        for (int i = 0; i < 10; ++i) {
            const Xvo16s row = i < 3 ? kDico1Lsf3[sid[1] * 3 + i] : i < 6 ? kDico2Lsf3[sid[2] * 3 + i - 3]
                                                                        : kDico3Lsf3[sid[3] * 4 + i - 6];
            EXPECT_EQ(pastRq[i], row) << "case " << n;
            lsf[i] = static_cast<Xvo16s>(row + kMeanLsf3[i] + kPastRqInit[sid[0] * 10 + i]);
        }
        for (int i = 0, lo = 205; i < 10; ++i) lsf[i] = static_cast<Xvo16s>(std::max<int>(lsf[i], lo)), lo = lsf[i] + 205;
        Xvo16s lsp[10];
        ASSERT_EQ(xvosLSFToLSP_GSMAMR_16s(lsf, lsp), xvoStsOk);
        for (int i = 0; i < 10; ++i) EXPECT_EQ(lspq[i], lsp[i]) << "case " << n;
        const int e = std::clamp((sid[4] << 8) - 11560, -14436, 0);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(qe[i], e);
            EXPECT_EQ(qe122[i], (e * 5443) >> 15);
        }
        // The same state again with the flag clear: nothing recomputed, nothing written.
        if (sid[4] != 0) {
            auto sid2 = sid;
            auto rq2 = pastRq, q2 = lspq;
            std::fill(en.begin(), en.end(), Xvo16s(0));
            ASSERT_EQ(xvosEncDTXSID_GSMAMR_16s(hist.data(), en.data(), sid2.data(), rq2.data(), q2.data(), qe.data(),
                                               qe122.data(), 0),
                      xvoStsOk);
            EXPECT_EQ(sid2, sid);
            EXPECT_EQ(rq2, pastRq);
        }
    }
}
