#pragma once
#include "common/error.h"

// Pumps events until `seconds` have passed. A clock that runs back past midnight ends the wait
// early with an overflow error.
OpError WaitSeconds(float seconds);
