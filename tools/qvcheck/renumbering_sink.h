#pragma once

#include <cstddef>

#include "tools/qvcheck/report.h"

namespace qv::check {

// Passes the records of one part of a run on to the whole, numbered by what came before.
class RenumberingSink : public ReportSink {
 public:
  // `inputs` is how many inputs came before.
  RenumberingSink(Report& report, std::size_t inputs);

  void input(const InputRecord& record) override;
  void connection(const ConnectionRecord& record) override;
  void message(const MessageRecord& record) override;
  void finding(const Finding& record) override;
  void gap(const GapRecord& record) override;

 private:
  Report& report_;
  std::size_t inputs_;
  std::size_t connections_;
  std::size_t messages_;
};

}  // namespace qv::check
