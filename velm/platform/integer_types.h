// BOOL, BYTE, WORD, DWORD, UINT, LONG, LONGLONG, ULONGLONG: the framework's integers, of the widths
// that its streams store.
#pragma once

#include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
