// Constant tables of the ITU-T G.729 reference (main body, Annexes A, B and D),
// transcribed once for every G.729 kernel of this library: LSP/LSF
// conversion and quantisation, codebook searches, gains, postfilter and the
// Annex B / Annex D additions. Each table keeps its reference name in its
// comment, with the reference file it comes from; tests/g729/tables_test.cpp
// guards every one with a checksum and spot values.
#pragma once

#include <cstdint>

namespace xvo::g729 {

inline constexpr int kM = 10;        ///< LPC order
inline constexpr int kNC0 = 128;     ///< first-stage LSF codebook size (7 bits)
inline constexpr int kNC1 = 32;      ///< second-stage LSF codebook size (5 bits per half)
inline constexpr int kMaNp = 4;      ///< MA prediction order of the LSF quantiser


// ---- LP analysis -----------------------------------------------------------

/// hamwindow: asymmetric LP analysis window (G.729 3.2.1), Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kHamwindow[240];
/// lag_h: lag window, high part (DPF), lags 1..12; the main body uses the first 10 (G.729 3.2.1), the 12-entry form is Annex B's.
/// Source: tab_ld8k.c (Annex B).
extern const int16_t kLagH[12];
/// lag_l: lag window, low part (DPF, 15 bits), lags 1..12.
/// Source: tab_ld8k.c (Annex B).
extern const int16_t kLagL[12];
/// lag window as 32-bit words: lag_h << 16 | lag_l << 1, so that hi = w >> 16 and lo = (w >> 1) & 0x7fff give back the DPF pair.
/// Source: derived from the tables above.
extern const int32_t kLagWindow[12];

// ---- LSP/LSF conversion ----------------------------------------------------

/// table: cos(k*pi/64) in Q15, k = 0..64 (Lsp_lsf, Lsp_lsf2, Lsf_lsp).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTable[65];
/// slope: acos slope in Q12 for Lsp_lsf (normalised LSF).
/// Source: tab_ld8k.c (main body).
extern const int16_t kSlope[64];
/// table2: cos(k*pi/64) in Q15, k = 0..63 (Lsf_lsp2).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTable2[64];
/// slope_cos: cosine slope in Q19 for Lsf_lsp2.
/// Source: tab_ld8k.c (main body).
extern const int16_t kSlopeCos[64];
/// slope_acos: acos slope in Q12 for Lsp_lsf2.
/// Source: tab_ld8k.c (main body).
extern const int16_t kSlopeAcos[64];

// ---- LSF quantiser ---------------------------------------------------------

/// lspcb1: first-stage LSF codebook, Q13 (G.729 3.2.4).
/// Source: tab_ld8k.c (main body).
extern const int16_t kLspcb1[128][10];
/// lspcb1 regrouped for vector searches: kLspcb1Pairs[p][i] holds entries 2p and 2p+1 of
/// row i as one 32-bit word (2p in the low half, 2p+1 in the high half).
/// Source: derived from lspcb1.
alignas(32) extern const int32_t kLspcb1Pairs[5][128];
/// lspcb2: second-stage LSF codebook, Q13; entries 0..4 form the low half, 5..9 the high half.
/// Source: tab_ld8k.c (main body).
extern const int16_t kLspcb2[32][10];
/// lspcb2 transposed for vector searches: kLspcb2T[j][k] = lspcb2[k][j].
/// Source: derived from lspcb2.
alignas(32) extern const int16_t kLspcb2T[10][32];
/// fg: MA predictor coefficients, Q15, [predictor][k][j].
/// Source: tab_ld8k.c (main body).
extern const int16_t kFg[2][4][10];
/// fg_sum: 1 - sum of the MA coefficients, Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kFgSum[2][10];
/// fg_sum_inv: 1 / fg_sum, Q12.
/// Source: tab_ld8k.c (main body).
extern const int16_t kFgSumInv[2][10];
/// freq_prev_reset: MA memory reset vector pi*(j+1)/11, Q13.
/// Source: tab_ld8k.c (Annex B).
extern const int16_t kFreqPrevReset[10];

// ---- LPC to LSP ------------------------------------------------------------

/// grid: cos(pi*i/60) in Q15, the 60-interval search grid of Az_lsp (main body).
/// Source: tab_ld8k.c (main body).
extern const int16_t kGrid60[61];
/// grid: cos(pi*i/50) in Q15, the 50-interval search grid of Az_lsp (Annex A).
/// Source: tab_ld8a.c (Annex A).
extern const int16_t kGrid50[51];

// ---- Pitch -----------------------------------------------------------------

/// inter_3: 1/3-resolution interpolation filter for the correlation (Interpol_3), Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kInter3[13];
/// inter_3l: 1/3-resolution interpolation filter for the excitation (Pred_lt_3), Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kInter3l[31];

// ---- Gain ------------------------------------------------------------------

/// pred: MA gain prediction coefficients {0.68, 0.58, 0.34, 0.19}, Q13.
/// Source: tab_ld8k.c (main body).
extern const int16_t kPred[4];
/// gbk1: gain codebook GA, {pitch Q14, code Q13}.
/// Source: tab_ld8k.c (main body).
extern const int16_t kGbk1[8][2];
/// gbk2: gain codebook GB, {pitch Q14, code Q13}.
/// Source: tab_ld8k.c (main body).
extern const int16_t kGbk2[16][2];
/// map1: GA index to transmitted code.
/// Source: tab_ld8k.c (main body).
extern const int16_t kMap1[8];
/// map2: GB index to transmitted code.
/// Source: tab_ld8k.c (main body).
extern const int16_t kMap2[16];
/// coef: gain pre-selection coefficients, Q10 Q14 / Q16 Q19.
/// Source: tab_ld8k.c (main body).
extern const int16_t kCoef[2][2];
/// L_coef: gain pre-selection coefficients, Q26 Q30 / Q32 Q35 (32-bit).
/// Source: tab_ld8k.c (main body).
extern const int32_t kLCoef[2][2];
/// thr1: GA pre-selection thresholds, Q14.
/// Source: tab_ld8k.c (main body).
extern const int16_t kThr1[4];
/// thr2: GB pre-selection thresholds, Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kThr2[8];
/// imap1: transmitted code to GA index.
/// Source: tab_ld8k.c (main body).
extern const int16_t kImap1[8];
/// imap2: transmitted code to GB index.
/// Source: tab_ld8k.c (main body).
extern const int16_t kImap2[16];

// ---- Postfilter ------------------------------------------------------------

/// tab_hup_s: short fractional-delay interpolation filters of the postfilter, Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kTabHupS[28];
/// tab_hup_l: long fractional-delay interpolation filters of the postfilter, Q15.
/// Source: tab_ld8k.c (main body).
extern const int16_t kTabHupL[112];

// ---- Pre/post-processing ---------------------------------------------------

/// b100: 100 Hz high-pass numerator (Post_Process), Q13.
/// Source: tab_ld8k.c (main body).
extern const int16_t kB100[3];
/// a100: 100 Hz high-pass denominator, Q13.
/// Source: tab_ld8k.c (main body).
extern const int16_t kA100[3];
/// b140: 140 Hz high-pass numerator halved (Pre_Process), Q12.
/// Source: tab_ld8k.c (main body).
extern const int16_t kB140[3];
/// a140: 140 Hz high-pass denominator, Q12.
/// Source: tab_ld8k.c (main body).
extern const int16_t kA140[3];

// ---- Basic functions -------------------------------------------------------

/// tabpow: 2^x interpolation table (Pow2).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTabpow[33];
/// tablog: log2 interpolation table (Log2).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTablog[33];
/// tabsqr: 1/sqrt interpolation table (Inv_sqrt).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTabsqr[49];
/// tab_zone: taming zone of each lag (test_err).
/// Source: tab_ld8k.c (main body).
extern const int16_t kTabZone[153];

// ---- Annex B ---------------------------------------------------------------

/// lbf_corr: VAD low-band filter autocorrelation.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kLbfCorr[13];
/// shift_fx: SID gain averaging shifts.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kShiftFx[33];
/// factor_fx: SID gain averaging factors.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kFactorFx[33];
/// fact: SID gain scaling.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kFact[3];
/// marg: SID gain margins.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kMarg[3];
/// tab_Sidgain: SID gain quantiser levels.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kTabSidgain[32];
/// noise_fg: SID LSF MA predictors; row 0 = fg[0], row 1 = extract_h(L_mac(L_mult(fg[0], 19660), fg[1], 13107)) as Init_lsfq_noise builds it.
/// Source: derived from the tables above.
extern const int16_t (&kNoiseFg)[2][4][10];
/// noise_fg_sum: SID LSF predictor complement sums, Q15 (row 1 for 0.6*fg[0] + 0.4*fg[1]).
/// Source: tab_dtx.c (Annex B).
extern const int16_t kNoiseFgSum[2][10];
/// noise_fg_sum_inv: inverses of noise_fg_sum, Q12.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kNoiseFgSumInv[2][10];
/// PtrTab_1: SID first-stage subset of lspcb1.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kPtrTab1[32];
/// PtrTab_2: SID second-stage subsets of lspcb2 (low, high).
/// Source: tab_dtx.c (Annex B).
extern const int16_t kPtrTab2[2][16];
/// Mp: SID LSF predictor weights.
/// Source: tab_dtx.c (Annex B).
extern const int16_t kMp[2];

// ---- Annex D ---------------------------------------------------------------

/// gbk1_6k: 6.4 kbit/s gain codebook GA, Q14 Q14.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kGbk1_6k[8][2];
/// gbk2_6k: 6.4 kbit/s gain codebook GB, Q14 Q14.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kGbk2_6k[8][2];
/// coef_6k: 6.4 kbit/s gain pre-selection coefficients.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kCoef_6k[2][2];
/// L_coef_6k: 6.4 kbit/s gain pre-selection coefficients (32-bit).
/// Source: tabld8kd.c (Annex D).
extern const int32_t kLCoef_6k[2][2];
/// thr1_6k: 6.4 kbit/s GA thresholds, Q13.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kThr1_6k[2];
/// thr2_6k: 6.4 kbit/s GB thresholds, Q15.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kThr2_6k[2];
/// map1_6k.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kMap1_6k[8];
/// imap1_6k.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kImap1_6k[8];
/// map2_6k.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kMap2_6k[8];
/// imap2_6k.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kImap2_6k[8];
/// trackTable0: 6.4 kbit/s pulse positions, track 0.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kTrackTable0[16];
/// trackTable1: 6.4 kbit/s pulse positions, track 1.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kTrackTable1[32];
/// grayEncode.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kGrayEncode[32];
/// grayDecode.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kGrayDecode[32];
/// ph_imp_low: phase-dispersion impulse response, low.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kPhImpLow[40];
/// ph_imp_mid: phase-dispersion impulse response, mid.
/// Source: tabld8kd.c (Annex D).
extern const int16_t kPhImpMid[40];

}  // namespace xvo::g729
