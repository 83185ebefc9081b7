// Who writes a file: the names that stand in texts for other systems, and the date beside them.
#pragma once

#include <string>

inline constexpr char kOCVersion[] = "3.0.9(286)";

/// The date of a file, such as "02-Jan-2006 15:04:05", in the time zone of the machine and in English whatever the
/// locale.   wallSeconds: since 1970, as the platform's clock tells.   Thread: any.
std::string OCFileDate(double wallSeconds);
