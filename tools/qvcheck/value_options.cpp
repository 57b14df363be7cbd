#include "tools/qvcheck/value_options.h"

#include <CLI/CLI.hpp>

#include "tools/qvcheck/command_family.h"

namespace qv::check {

namespace {

constexpr const char* kExamples =
    "VALUE is JSON text where a value is meant (a text in quotes, \"-- -5\" for a\n"
    "negative number) and hexadecimal bytes where encoded bytes, or values of the\n"
    "formats data and tlv8, are.\n"
    "Over IP the encoded form is the JSON of the body, so there it is JSON both ways.\n"
    "\n"
    "Examples:\n"
    "  qvcheck value encode --profile lamp.xml --ref 'Lamp Level' --transport btle 40\n"
    "  qvcheck value decode --profile lamp.xml --ref 'Lamp Level' --transport btle 28\n"
    "  qvcheck value decode --profile lamp.xml --ref 'Lamp Schedule' \\\n"
    "          --transport btle '01 01 7f'\n"
    "  qvcheck value encode --profile lamp.xml --ref 'Lamp Schedule/Label' \\\n"
    "          --transport tlv8 '\"Evening\"'\n"
    "\n"
    "Exit codes: 0 the value passes every check, 1 it fails one.";

class ValueFamily : public CommandFamily {
 public:
  void declare(CLI::App& app) override {
    CLI::App* value = app.add_subcommand("value", "Encode or decode one value and check it");
    value->require_subcommand(1);
    value->footer(kExamples);
    encode_ = value->add_subcommand("encode", "From the value to what the transport carries");
    decode_ = value->add_subcommand("decode", "From what the transport carries to the value");
    for (CLI::App* command : {encode_, decode_}) {
      command->footer(kExamples);
      command
          ->add_option("--profile", options_.profiles, "Profile that defines it; may be repeated")
          ->type_name("FILE")
          ->expected(1)
          ->take_all()
          ->required();
      command
          ->add_option("--ref", options_.ref,
                       "Name, UTI or UUID of the characteristic; STRUCTURE/FIELD with tlv8")
          ->type_name("NAME")
          ->required();
      command->add_option("--transport", transport_, "Who carries it")
          ->check(CLI::IsMember({"ip", "btle", "tlv8"}))
          ->required();
      command->add_option("VALUE", options_.value, "The value, or its encoded bytes")->required();
    }
  }

  std::optional<Command> command() override {
    if (!encode_->parsed() && !decode_->parsed()) return std::nullopt;
    options_.encode = encode_->parsed();
    options_.transport = transport_ == "ip"     ? QVTransport::ip
                         : transport_ == "btle" ? QVTransport::btle
                                                : QVTransport::tlv8;
    return options_;
  }

 private:
  CLI::App* encode_ = nullptr;
  CLI::App* decode_ = nullptr;
  ValueOptions options_;
  std::string transport_;
};

}  // namespace

std::unique_ptr<CommandFamily> makeValueFamily() {
  return std::make_unique<ValueFamily>();
}

}  // namespace qv::check
