#pragma once

/// Degrees to radians, the factor every degree interface of the library uses.
constexpr float kQelDegToRad = 0.017453292f;
/// Radians to degrees.
constexpr float kQelRadToDeg = 57.295776f;
/// Largest float: the empty box starts with its minimum here and its maximum at the negation.
constexpr float kQelMaxFloat = 3.4028235e38f;
