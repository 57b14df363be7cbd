#pragma once

#include <string>

namespace qv::capture {

// The name of a file that may be a piece of a capture.
//
// Names are in natural order, their runs of digits compared as numbers: log-2026-11-30,
// log-2026-12-01. What stands before the extension decides first: run.pcap, run.pcap1, run.pcap10,
// run-1.pcap.
struct PieceName {
  explicit PieceName(std::string name);

  // One direction of a connection: NAME.req, NAME.rsp.
  bool isRequests() const { return extension == ".req"; }
  bool isResponses() const { return extension == ".rsp"; }
  bool isOfStream() const { return isRequests() || isResponses(); }
  // The same for names that are equal but for their numbers, and for the directions of a stream.
  std::string family() const;

  std::string whole;
  std::string stem;
  std::string extension;  // with its dot; what "gz" adds is no extension

  friend bool operator<(const PieceName& left, const PieceName& right);
};

}  // namespace qv::capture
