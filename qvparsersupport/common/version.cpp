#include "qvparsersupport/common/version.h"

namespace qv {

const double QVParserSupportVersionNumber = 1.0;

const char* const QVParserSupportVersionString =
    "@(#)PROGRAM:QVParserSupport  PROJECT:MarlinServicesParser-1\n";

}  // namespace qv
