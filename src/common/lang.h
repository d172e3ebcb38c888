#pragma once
// The interface language: 0 German, above 0 English. Every bilingual text is chosen here.
#include <QString>
#include <cstdint>

extern uint8_t CurrLang;

// German when CurrLang <= 0, else English.
inline const QString& LangText(const QString& german, const QString& english) {
    return CurrLang <= 0 ? german : english;
}
inline bool IsGerman() {
    return CurrLang <= 0;
}
