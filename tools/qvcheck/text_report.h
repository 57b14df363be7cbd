#pragma once

#include <ostream>
#include <string>

#include "tools/qvcheck/ink.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// The report for people: one block for each message that has findings, its first line `file:offset:
// what` so that editors and grep can use it, and the summary last. Quiet leaves one line for each
// finding. Captured text is always escaped.
class TextReport : public ReportSink {
 public:
  struct Style {
    bool quiet = false;
    bool verbose = false;  // a line for everything that has no finding
    bool color = false;
    bool judging = true;  // the command judges messages, so the summary counts them
  };
  TextReport(std::ostream& out, Style style) : out_(out), style_(style), ink_(style.color) {}

  void profile(const ProfileRecord& record) override;
  void input(const InputRecord& record) override;
  void connection(const ConnectionRecord& record) override;
  void message(const MessageRecord& record) override;
  void finding(const Finding& record) override;
  void summary(const Summary& record) override;
  void flush() override { closeBlock(); }

 private:
  // A value of a JSON body that was shown.
  struct PlaceShown {
    std::size_t message;
    std::string pointer;
    std::size_t byteOffset;
    friend bool operator==(const PlaceShown&, const PlaceShown&) = default;
  };

  void closeBlock();
  // Before what is written next; an empty line stands around blocks.
  void separate(bool block);
  bool isShownAbove(const Finding& record);
  void details(const Finding& record);
  std::string severityAndRule(const Finding& record) const;

  std::ostream& out_;
  Style style_;
  Ink ink_;
  MessageRecord message_;    // the last one; few need a heading, so it is made when it is printed
  bool headingDue_ = false;  // until its first finding prints it
  std::optional<std::string> messageText_;  // its error description, until a finding says the same
  std::optional<PlaceShown> placeShown_;    // by the finding before
  bool wroteBlock_ = false;
  bool blockIsLast_ = false;
  std::string losses_;  // a line for each input that is not whole
};

}  // namespace qv::check
