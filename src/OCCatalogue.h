// The parameter catalogue: the authoritative spelling of every parameter, for whatever shows or binds one by name.
#pragma once

#include <cstdint>
#include <span>

struct OCKeyRow {
    uint32_t offset; ///< of the field in OCSettings
    const char* key; ///< lower case
};

enum OCNameKind : uint32_t {
    ocNameSeparator = 0, ///< the name is "-", the offset 0
    ocNameFloat = 2,
    ocNameHueWheel = 3,
    ocNameTintAngle = 4,
    ocNameSwitch = 6,
};

struct OCNameRow {
    uint32_t offset;
    const char* name;
    OCNameKind kind;
};

/// 318 rows, group by group in the order of the record.
std::span<const OCKeyRow> OCParameterKeys();

/// 300 rows: 275 names and 25 separators between the groups.
std::span<const OCNameRow> OCParameterNames();
