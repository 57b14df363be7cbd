#pragma once

#include <string>
#include <vector>

#include "qvparsersupport/vocabulary/types.h"

namespace qv::check {

struct ValueOptions {
  bool encode = true;  // else decode
  std::vector<std::string> profiles;
  std::string ref;  // a characteristic, or STRUCTURE/FIELD for the transport tlv8
  QVTransport transport = QVTransport::ip;
  std::string value;
};

}  // namespace qv::check
