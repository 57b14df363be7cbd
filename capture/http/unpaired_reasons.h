#pragma once

#include <string_view>

// Why a response answers no known request.
namespace qv::capture {

inline constexpr std::string_view kNoRequest = "the capture holds no request for it";
inline constexpr std::string_view kNoFirstWord = "the capture ends before its first word";
inline constexpr std::string_view kRequestSkipped = "skipped bytes may hide a request";
inline constexpr std::string_view kResponseSkipped = "skipped bytes may hide a response";
inline constexpr std::string_view kRequestMissing =
    "bytes missing from the capture may hide a request";
inline constexpr std::string_view kResponseMissing =
    "bytes missing from the capture may hide a response";
inline constexpr std::string_view kBeginsInMidst =
    "the capture begins in mid-connection, when an earlier request may have been open";
inline constexpr std::string_view kRequestEndUnknown = "the end of an earlier request is not known";
inline constexpr std::string_view kResponseEndUnknown =
    "the end of an earlier response is not known";
inline constexpr std::string_view kTooManyOpen = "too many requests wait for a response";
inline constexpr std::string_view kRequestMayFollow =
    "its request would come too far behind it in the capture";
inline constexpr std::string_view kGivenUp =
    "what came before it was given up to keep memory within bounds";
// Of a capture that was made of another one.
inline constexpr std::string_view kToldUncertain =
    "it was not known what it answers when the capture was written";

inline constexpr std::string_view kUnpairedReasons[] = {
    kNoRequest,      kNoFirstWord,     kRequestSkipped,    kResponseSkipped,
    kRequestMissing, kResponseMissing, kRequestEndUnknown, kResponseEndUnknown,
    kBeginsInMidst,  kToldUncertain,   kTooManyOpen,       kRequestMayFollow,
    kGivenUp,
};

}  // namespace qv::capture
