// SPDX-License-Identifier: GPL-3.0-or-later
// The evaluator of equation texts, behind it muParser.
//
// Numbers:   12  12.  .5  1e-6  and a lone point, which is zero; a point in every locale.
// Operators: + - * / ^ (right to left, stronger than a sign: -3^2 is -9), < <= > >= == !=,
//            && ||, condition ? a : b. Any run of signs is one sign: 2--3 is 5.
// Names: see functions.h; angles are radians. Capitals are taken for small letters, and blanks may
// stand before the bracket of a function.
// Pasted characters: U+2212 is a minus, U+00D7 and U+00B7 multiply, U+00A0 is a blank.
#pragma once

#include <memory>

#include "meter/evaluator.h"

namespace vantoscope {

/// Arithmetic is IEEE: 1/0 is inf and sqrt(-1) is nan, neither is an error. A blank text is nan. A
/// text that does not give exactly one value is an error, and so is one of 20000 characters or
/// more. Depends on no locale.
std::unique_ptr<Evaluator> CreateMuParserEvaluator();

}  // namespace vantoscope
