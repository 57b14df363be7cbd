#include "qvparsersupport/common/load_assertion.h"

#include <fmt/format.h>

#include <utility>

#include "qvparsersupport/common/value.h"
#include "qvparsersupport/common/xml_tree.h"

namespace qv {

QVLoadAssertion::QVLoadAssertion(std::string reason, std::shared_ptr<const XMLElement> element,
                                 SourceOrigin origin)
    : reason_(std::move(reason)), element_(std::move(element)), origin_(origin) {}

Value QVLoadAssertion::userInfo() const {
  return Value::dictionary({});
}

std::string QVLoadAssertion::origin() const {
  std::string text = fmt::format("raised at {}:{}", origin_.file, origin_.line);
  if (element_ != nullptr) {
    const XMLPosition position = element_->position();
    text += fmt::format(", element '{}' at {}:{}:{}", element_->name(), element_->document().name(),
                        position.line, position.column);
  }
  return text;
}

void raiseLoadAssertion(std::string reason, std::shared_ptr<const XMLElement> element,
                        SourceOrigin origin) {
  throw QVLoadAssertion(std::move(reason), std::move(element), origin);
}

}  // namespace qv
