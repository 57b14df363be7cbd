#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvparsersupport/symbols/symbol_table.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// Every fault that can be found in the documents as a finding, in the order of the documents. What
// the loader refuses is an error, what it accepts though it looks wrong a warning.
//
// The errors come from the library's own classes: each definition is built by itself, and after a
// fault the survey goes on with the next one and with the parts of the faulty one that can be built
// alone. What merely refers to something faulty is not reported. So there is an error exactly when
// `fault`, what the loader stopped at, is not null, and one of them is that fault.
//
// Uses the shared symbol table, which holds nothing of use afterwards.
std::vector<Finding> surveyOf(const std::vector<std::shared_ptr<const XMLDocument>>& documents,
                              const std::optional<QVLoadFault>& fault);

}  // namespace qv::check
