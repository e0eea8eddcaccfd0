// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The instruction sets that picture work is compiled for: all of the processor family, the scalar one
/// included. To be included before anything of Highway, by what is compiled for them and by who asks for
/// their list.
#define HWY_COMPILE_ALL_ATTAINABLE
/// Vectors of a length that only the processor knows cannot lie in arrays, as those of the transform do.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
