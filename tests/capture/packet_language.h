#pragma once

#include <string>

#include "capture/io/byte_source.h"
#include "qvparsersupport/common/bytes.h"
#include "tests/support/expectations.h"

// Packet files in a few words, and what they come to.
namespace qv::capture::test {

// One line for each part of a file. A part is put together from its last word to its first, each of
// which goes in front of what is there: `eth:0800 ip4 tcp "GET"`. Numbers are hexadecimal where
// they stand for bytes, decimal elsewhere.
//
//   pcap:LE|BE,us|ns|mod,LINK,SNAP    the file header of a pcap file
//   packet                            a record of it
//   shb:LE|BE  idb:LINK,SNAP          blocks of a pcapng file
//   epb:INTERFACE  pb:INTERFACE  spb  block:TYPE
//   raw                               just the bytes
//
//   eth:TYPE sll:TYPE sll2:TYPE       headers; what follows "ip4" and "tcp" are fields to set
//   ip4 ip4:len=N,frag=HEX,proto=N,opt=HEX  ip6 ip6:len=N,next=N  tcp tcp:flags=HEX,seq=N,opt=HEX
//   "text"  xHEX  zero:N              bytes
//   cut:N                             only the first N bytes were captured
//   part:BEGIN-END                    only these bytes, as if there were no others
//   at:N  at:SECONDS,FRACTION         time
//   copies:N                          the whole part N times
Bytes packetFileOf(const qv::test::Case& lines);

// One line for each segment and note:
//
//   1 @5.000007 192.0.2.1:49152>192.0.2.2:80 seq 1 ack 2 A "GET" of 3
//   truncated @24+7 packet 2: the file ends ...
std::string segmentsOf(std::shared_ptr<ByteSource> source);

}  // namespace qv::capture::test
