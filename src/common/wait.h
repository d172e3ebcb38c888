#pragma once
#include "common/error.h"

#include <functional>

// Pumps events until `seconds` have passed, measured on the clock's seconds since midnight; with
// no time to wait it pumps once. A clock that runs back past midnight ends the wait early with
// an overflow error.
OpError WaitSeconds(float seconds);
// The same on a given clock (seconds since midnight).
OpError WaitSeconds(float seconds, const std::function<double()>& secondsSinceMidnight);
