#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/ipmessages/message_class.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"

namespace qv {

// A message whose body is a TLV8 packet. The body is decoded and checked when it is first asked
// for, so until then only the checks that every response undergoes have been made.
class QV_EXPORT QVIPTLV8PayloadMessage : public QVIPMessage {
 public:
  static constexpr const char* kClassName = "QVIPTLV8PayloadMessage";
  const char* className() const override { return kClassName; }

  // The decoded body, kept after the first success. Null when the content type is not the one that
  // the message must carry; then nothing is kept, and the next call checks again. A packet with
  // faults is still answered. A decoding fault replaces an earlier error description; the
  // first field that does not suit the definition is described only when nothing was before, but it
  // is always among the faults.
  std::shared_ptr<QVTLV8Packet> tlv8Payload();

  // The definition to check the packet against; null for no check.
  virtual std::shared_ptr<QVTLV8XMLObject> tlv8Definition() const { return nullptr; }
  // The content type that the message must carry, compared exactly; null for no check.
  virtual std::optional<std::string> tlv8MIMEType() const { return std::nullopt; }

  const std::shared_ptr<QVTLV8Packet>& cachedTLV8Packet() const { return cachedTLV8Packet_; }
  void setCachedTLV8Packet(std::shared_ptr<QVTLV8Packet> packet) {
    cachedTLV8Packet_ = std::move(packet);
  }

 private:
  void decodeBody();
  void validateFields();

  std::shared_ptr<QVTLV8Packet> cachedTLV8Packet_;
};

// What the six pairing messages share.
class QV_EXPORT QVIPPairingMessage : public QVIPTLV8PayloadMessage {
 public:
  // The definition named "Pairing" of the shared symbol table, looked up anew at each call; null
  // when no profile defines it. Never raises, a load in progress or not.
  std::shared_ptr<QVTLV8XMLObject> tlv8Definition() const override;
  std::optional<std::string> tlv8MIMEType() const override;

 protected:
  QVIPPairingMessage() = default;
};

class QV_EXPORT QVIPPairSetupRequestMessage
    : public QVIPRequestClass<QVIPPairSetupRequestMessage, QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairSetupRequestMessage";
  static constexpr const char* kMethod = "POST";
  static constexpr const char* kURL = "/pair-setup";
};

class QV_EXPORT QVIPPairSetupResponseMessage
    : public QVIPResponseClass<QVIPPairSetupResponseMessage, QVIPPairSetupRequestMessage,
                               QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairSetupResponseMessage";
};

class QV_EXPORT QVIPPairVerifyRequestMessage
    : public QVIPRequestClass<QVIPPairVerifyRequestMessage, QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairVerifyRequestMessage";
  static constexpr const char* kMethod = "POST";
  static constexpr const char* kURL = "/pair-verify";
};

class QV_EXPORT QVIPPairVerifyResponseMessage
    : public QVIPResponseClass<QVIPPairVerifyResponseMessage, QVIPPairVerifyRequestMessage,
                               QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairVerifyResponseMessage";
};

class QV_EXPORT QVIPPairingsRequestMessage
    : public QVIPRequestClass<QVIPPairingsRequestMessage, QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairingsRequestMessage";
  static constexpr const char* kMethod = "POST";
  static constexpr const char* kURL = "/pairings";
};

class QV_EXPORT QVIPPairingsResponseMessage
    : public QVIPResponseClass<QVIPPairingsResponseMessage, QVIPPairingsRequestMessage,
                               QVIPPairingMessage> {
 public:
  static constexpr const char* kClassName = "QVIPPairingsResponseMessage";
};

}  // namespace qv
