#pragma once

#include "capture/http/framed_message.h"
#include "tools/qvcheck/attribute_names.h"
#include "tools/qvcheck/message_reader.h"
#include "tools/qvcheck/view_page.h"

namespace qv::check {

// Shows what one message holds: start line, fields and body. A fault is marked where it stands.
void showMessage(ViewPage& page, const ReadMessage& read, const capture::FramedMessage& message,
                 const AttributeNames& names);

}  // namespace qv::check
