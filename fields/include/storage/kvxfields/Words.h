#pragma once

/// @file
/// The words of the enumerations.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "storage/kvxclient/Enumerations.h"

namespace storage::kvxfields {

/// The words of an enumeration, at the index of the enumerator's value.
template <class Enumeration>
inline constexpr std::array<std::string_view, 0> words{};
/// @cond
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::AccessType>{
    "READ_ONLY", "READ_WRITE", "OWNER"};
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::FileCreateMode>{
    "CREATE", "UPDATE", "CREATE_OR_UPDATE"};
template <>
inline constexpr std::array<std::string_view, 2> words<kvxclient::FileHandleCloseOperation>{
    "COMMIT_CHANGES", "ABORT_CHANGES"};
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::InvitationStatus>{
    "PENDING", "ACCEPTED", "DECLINED"};
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::InvitationType>{
    "OPEN", "PERSONAL", "CREATED_FROM_OPEN"};
template <>
inline constexpr std::array<std::string_view, 2> words<kvxclient::Operation>{"READ", "READ_WRITE"};
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::VersionPolicy>{
    "INHERIT", "DISABLED", "ENABLED"};
template <>
inline constexpr std::array<std::string_view, 3> words<kvxclient::PublicAccessPolicy>{
    "INHERIT", "DENIED", "ALLOWED"};
/// @endcond

/// Returns the word of a value, empty if the value is no enumerator.
template <class Enumeration>
constexpr std::string_view wordOf(Enumeration value) {
    const auto index = static_cast<std::uint32_t>(value);  // Too large if the value is negative.
    return index < words<Enumeration>.size() ? words<Enumeration>[index] : std::string_view();
}

/// Returns the value of a word, nothing if it is none of the enumeration's.
template <class Enumeration>
constexpr std::optional<Enumeration> enumeratorOf(std::string_view word) {
    for (std::size_t index = 0; index < words<Enumeration>.size(); ++index) {
        if (words<Enumeration>[index] == word) {
            return static_cast<Enumeration>(index);
        }
    }
    return std::nullopt;
}

}  // namespace storage::kvxfields
