#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/qvcheck/options.h"

namespace CLI {
class App;
}

namespace qv::check {

// The commands of one kind: declares them with their options and help and, when the command line
// names one of them, answers what it asks for.
class CommandFamily {
 public:
  CommandFamily() = default;
  CommandFamily(const CommandFamily&) = delete;
  CommandFamily& operator=(const CommandFamily&) = delete;
  virtual ~CommandFamily() = default;

  virtual void declare(CLI::App& app) = 0;
  // To be called once the command line was parsed; null when it names no command of this family.
  virtual std::optional<Command> command() = 0;
};

std::unique_ptr<CommandFamily> makeTrafficFamily();
std::unique_ptr<CommandFamily> makeReportFamily();
std::unique_ptr<CommandFamily> makeShowFamily();
std::unique_ptr<CommandFamily> makeProfileFamily();
std::unique_ptr<CommandFamily> makeRulesFamily();
std::unique_ptr<CommandFamily> makeValueFamily();

// The answer to a command line that cannot be meant; the advice on where to find help is not in it.
Answer usageError(const std::string& text);
// Of a command such as "profile check".
std::string helpAdvice(const std::string& command);

}  // namespace qv::check
