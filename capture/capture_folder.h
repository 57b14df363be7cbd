#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/capture_opening.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"

namespace qv::capture {

// One capture of a directory: a file, or files that continue each other in this order. Either
// `files` are there, or those of one connection as two byte streams.
struct FolderCapture {
  std::vector<std::string> requests;   // NAME.req, and NAME.req.gz
  std::vector<std::string> responses;  // NAME.rsp
  std::vector<std::string> files;
};

struct FolderContents {
  std::vector<FolderCapture> captures;  // in the order of the first name of each
  // Names of what belongs to none of them:
  std::vector<std::string> unknown;  // files that begin like no form, or not like the one asked for
  std::vector<std::string> notFiles;  // directories above all
};

// What a directory holds, besides hidden files.
//
// Files continue each other when their names are equal but for numbers and their contents allow it:
//   packet files, each with its own header;
//   streams and records, of which a later piece may begin in the midst of a message or a line;
//   what begins like no form, behind any other.
// A further archive begins a capture of its own. A stream has to begin with a start line, unless
// its name says what it is (.req, .rsp).
//
// Streams with like names are one connection, unless there are several pairs (run1.req and
// run1.rsp, run2.req and run2.rsp) each of which is whole without the others: it begins with a
// message, and has a request for each response. Pieces of one connection are seldom cut that way,
// and where they are, no message changes its place by it.
//
// Null, with a text, when the directory cannot be read or holds no capture.
QV_EXPORT std::optional<FolderContents> capturesIn(const std::string& directory,
                                                   CaptureForm form = CaptureForm::automatic,
                                                   ErrorSlot errorDescription = nullptr);

// The one stream of that direction that a directory holds, as the `files` of its only capture, and
// what else is there but streams of the other direction. Null, with a text, when there is none or
// more than one.
QV_EXPORT std::optional<FolderContents> streamIn(const std::string& directory, Direction direction,
                                                 ErrorSlot errorDescription = nullptr);

}  // namespace qv::capture
