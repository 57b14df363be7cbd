#pragma once

#include "qvparsersupport/common/export.h"

namespace qv {

// The version of the library's behaviour: 1.0.
QV_EXPORT extern const double QVParserSupportVersionNumber;

// The version as a what-string ("@(#)PROGRAM:..."), ended by a line feed.
QV_EXPORT extern const char* const QVParserSupportVersionString;

}  // namespace qv
