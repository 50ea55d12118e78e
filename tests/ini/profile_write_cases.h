#pragma once

#include "ini/profile.h"

namespace velmora::ini {

// Writes of one key into a profile file and the bytes they leave, as Windows leaves them. The
// audit trail's in-place writer must leave the same bytes (tests/audit).
struct WriteCase {
  const char* before;
  const char* section;
  const char* key;
  const char* value;  // nullptr deletes
  const char* after;
};

inline constexpr WriteCase kWriteCases[] = {
    {"", "App", "key", "string", "[App]\r\nkey=string\r\n"},
    {"[App1]\r\nk=1\r\n", "App3", "k5", "s", "[App1]\r\nk=1\r\n[App3]\r\nk5=s\r\n"},
    {"Data", "section1", "key1", "string1", "Data\r\n[section1]\r\nkey1=string1\r\n"},
    {"[s]\r\nz=\r\n;y=\r\n", "s", "a", "", "[s]\r\nz=\r\na=\r\n;y=\r\n"},
    {"[a]\r\nk=1\r\n\r\n[b]\r\n", "a", "n", "2", "[a]\r\nk=1\r\nn=2\r\n\r\n[b]\r\n"},
    {"[SectionName]\r\nTestKey=TestValue", "SECTIONNAME", "TESTKEY", "X", "[SectionName]\r\nTestKey=X\r\n"},
    {"[s]\r\nk=v\r\n", " s ", " k ", "  v  ", "[s]\r\nk=  v  \r\n"},
    {";c0\r\n[s]\r\n;c1\r\nk=1\r\n[t]\r\nk=2\r\n", "t", "k", "3", ";c0\r\n[s]\r\n;c1\r\nk=1\r\n[t]\r\nk=3\r\n"},
    {"[App3]\r\nkey5=s\r\n", "App3", "key5", nullptr, "[App3]\r\n"},
    {"[App3]\r\nkey5=s\r\n", "App3", "other", nullptr, "[App3]\r\nkey5=s\r\n"},
    {"junk\x01\r\n[s]\nk=1\n", "s", "k", "2", "junk\x01\r\n[s]\nk=2\r\n"},
    {"\xEF\xBB\xBF[s]\r\nk=1\r\n", "s", "n", "2", "\xEF\xBB\xBF[s]\r\nk=1\r\nn=2\r\n"},
    {"[Año]\r\nk=1\r\n[b]\r\n", "AÑO", "K", "22", "[Año]\r\nk=22\r\n[b]\r\n"},
    {"[s]\r\nk=1\r\n[S]\r\nk=2\r\n[t]\r\n", "s", "k", "3", "[s]\r\nk=3\r\n[S]\r\nk=2\r\n[t]\r\n"},
    {"[a]\rk=1\r[b]\rk=2", "b", "k", "33", "[a]\rk=1\r[b]\rk=33\r\n"},
    {"[a]\r\nk=1", "b", "k", "", "[a]\r\nk=1\r\n[b]\r\nk=\r\n"},
    {"[s]\r\nt=Dispensaci\xF3n\r\nk=1\r\n", "s", "k", "2", "[s]\r\nt=Dispensaci\xF3n\r\nk=2\r\n"},
};

}  // namespace velmora::ini
