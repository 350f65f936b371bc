// Row functions in several forms: for every processor of the architecture, and for those with wide vectors.
//
// The body of such a function is marked KX_ROW_BODY and called from functions of which the one marked KX_WIDE_VECTORS is
// compiled for wide vectors; `hasWideVectors` picks one when the process starts. All give the same bytes: the wide form has
// no fused multiply-add, so floating-point results are the same on every machine. KX_WIDEST_VECTORS is for integers alone,
// because there fused multiply-add cannot be left out.
#pragma once

#define KX_ROW_BODY [[gnu::always_inline]] inline

#if defined(__x86_64__) && defined(__GNUC__)
#define KX_WIDE_VECTORS [[gnu::target("avx2")]]
#define KX_WIDEST_VECTORS [[gnu::target("avx2,avx512f,avx512bw,avx512vl")]]
#else
#define KX_WIDE_VECTORS
#define KX_WIDEST_VECTORS
#endif

namespace Kel::Gfx
{

inline bool hasWideVectors()
{
#if defined(__x86_64__) && defined(__GNUC__)
    static const bool isWide = __builtin_cpu_supports("avx2") > 0;
    return isWide;
#else
    return false;
#endif
}

inline bool hasWidestVectors()
{
#if defined(__x86_64__) && defined(__GNUC__)
    static const bool isWidest = hasWideVectors() && __builtin_cpu_supports("avx512f") > 0 &&
                                 __builtin_cpu_supports("avx512bw") > 0 && __builtin_cpu_supports("avx512vl") > 0;
    return isWidest;
#else
    return false;
#endif
}

} // namespace Kel::Gfx
