#pragma once

/// @file
/// The headers that belong to the protocol.

#include <string_view>

namespace storage::kvxremote::headers {

/// @name With each call
/// @{
inline constexpr std::string_view authorization = "Authorization";  ///< "Bearer " and session id.
inline constexpr std::string_view application = "KVX-Application";  ///< Percent-encoded, as are
inline constexpr std::string_view origin = "KVX-Origin";            ///< the next three; left out
inline constexpr std::string_view client = "KVX-Client";            ///< when they are empty.
inline constexpr std::string_view clientType = "KVX-Client-Type";
inline constexpr std::string_view call = "KVX-Call";    ///< 32 hex digits, for calls that write.
inline constexpr std::string_view order = "KVX-Order";  ///< 1, 2, ... for calls on one handle.
/// @}

/// @name With each repeat of a call that writes
/// @{
inline constexpr std::string_view boot = "KVX-Boot";  ///< The server that got the first attempt.
inline constexpr std::string_view age = "KVX-Age";    ///< Milliseconds since the first attempt.
/// @}

/// @name With each answer
/// @{
inline constexpr std::string_view error = "KVX-Error";  ///< The number of a code; also a trailer.
/// "1" when a repeat is refused unexecuted, since the outcome of its first attempt is unknown.
inline constexpr std::string_view inDoubt = "KVX-In-Doubt";
// And KVX-Boot: the id of the server's process.
/// @}

/// @name With content
/// @{
inline constexpr std::string_view contentType = "Content-Type";  ///< Of what the body is.
inline constexpr std::string_view range = "Range";               ///< "bytes=FIRST-LAST".
/// How many bytes of JSON stand before the content.
inline constexpr std::string_view jsonSize = "KVX-Json-Size";
/// The response's fields but for the content, as percent-encoded JSON.
inline constexpr std::string_view response = "KVX-Response";
/// @}

}  // namespace storage::kvxremote::headers
