#pragma once
// The codes that a rule's SaveBy, SaveFormat and FileExists fields hold.
#include <cstdint>

// Where a rule saves.
namespace SaveBy {
constexpr int16_t Date = 0;      // a folder per date below the base folder
constexpr int16_t Sender = 1;    // a folder per sender
constexpr int16_t Recipient = 2; // a folder per recipient
constexpr int16_t Project = 3;   // the folder of the project that Folder names
constexpr int16_t Folder = 4;    // the base folder itself
} // namespace SaveBy

// How the folder below the base is named; the meaning depends on SaveBy.
namespace SaveFormat {
// With SaveBy::Date.
constexpr int16_t DayMonthYear = 0; // dd-mm-yyyy
constexpr int16_t YearMonthDay = 1; // yyyy-mm-dd
constexpr int16_t YearMonth = 2;    // yyyy-mm
constexpr int16_t YearWeek = 3;     // yyyy-ww
// With SaveBy::Sender and SaveBy::Recipient.
constexpr int16_t Name = 0;
constexpr int16_t Address = 1; // from the "@" on when the rule names a domain
// With SaveBy::Folder: 0 the folder alone, or the mail folder's path below it.
constexpr int16_t Plain = 0;
constexpr int16_t KeepMailFolders = 99;
} // namespace SaveFormat

// What to do when the target file exists; 4 and up act as Replace.
namespace FileExists {
constexpr uint8_t Ask = 0; // the save-as dialog
constexpr uint8_t Replace = 1;
constexpr uint8_t Number = 2;
constexpr uint8_t AddDateTime = 3;
} // namespace FileExists
