#pragma once

#include <ostream>

#include "tools/qvcheck/report.h"

namespace qv::check {

// The report for programs: one JSON object a line (schema "qv.run/1"), `type` first, keys in a
// fixed order, no clocks. `input` records come when the input has been read to its end, because
// they say how much there was and whether it was whole; messages refer to them by number.
class NDJSONReport : public ReportSink {
 public:
  explicit NDJSONReport(std::ostream& out) : out_(out) {}

  void run(const RunRecord& record) override;
  void profile(const ProfileRecord& record) override;
  void input(const InputRecord& record) override;
  void connection(const ConnectionRecord& record) override;
  void message(const MessageRecord& record) override;
  void finding(const Finding& record) override;
  void gap(const GapRecord& record) override;
  void summary(const Summary& record) override;

 private:
  std::ostream& out_;
};

}  // namespace qv::check
