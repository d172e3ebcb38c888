#include "common/lang.h"

uint8_t CurrLang = 0;
