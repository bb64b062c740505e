// Argument checks shared by every exported function. They return a status
// and never abort or print; the exported function returns the first failing
// status before it writes anything.
#pragma once

#include "xvosc.h"

namespace xvo {

/// True when any of the given pointers is null.
template <typename... P>
constexpr bool ownAnyNull(const P*... p) { return ((p == nullptr) || ...); }

/// xvoStsNullPtr when any pointer is null, else xvoStsOk.
template <typename... P>
constexpr XvoStatus ownCheckPtrs(const P*... p) { return ownAnyNull(p...) ? xvoStsNullPtr : xvoStsOk; }

/// xvoStsSize when any length is below 1, else xvoStsOk.
template <typename... L>
constexpr XvoStatus ownCheckLens(L... len) { return ((len < 1) || ...) ? xvoStsSize : xvoStsOk; }

}  // namespace xvo

/// Return `status` from the enclosing function when `cond` holds.
#define XVO_RETURN_IF(cond, status) \
    do {                            \
        if (cond) return (status);  \
    } while (0)

/// Return the status of a check when it is not xvoStsOk.
#define XVO_CHECK(expr)                              \
    do {                                             \
        const XvoStatus xvo_check_sts_ = (expr);     \
        if (xvo_check_sts_ != xvoStsOk) return xvo_check_sts_; \
    } while (0)
