#include "storage/kvxclient/Enumerations.h"

#include <array>
#include <stdexcept>
#include <string_view>

namespace storage::kvxclient {
namespace {

using namespace std::string_view_literals;

// The words of each enumeration, at the index of the enumerator's value.
constexpr std::array accessTypes{"READ_ONLY"sv, "READ_WRITE"sv, "OWNER"sv};
constexpr std::array fileCreateModes{"CREATE"sv, "UPDATE"sv, "CREATE_OR_UPDATE"sv};
constexpr std::array fileHandleCloseOperations{"COMMIT_CHANGES"sv, "ABORT_CHANGES"sv};
constexpr std::array invitationStatuses{"PENDING"sv, "ACCEPTED"sv, "DECLINED"sv};
constexpr std::array invitationTypes{"OPEN"sv, "PERSONAL"sv, "CREATED_FROM_OPEN"sv};

template <class Words, class Enumeration>
std::string wordOf(const Words& words, Enumeration value) {
    const auto index = static_cast<std::uint32_t>(value);  // A negative value is out of range too.
    return std::string(index < words.size() ? words[index] : "UNKNOWN"sv);
}

template <class Enumeration, class Words>
Enumeration valueOf(const Words& words, std::string_view text) {
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index] == text) {
            return static_cast<Enumeration>(index);
        }
    }
    throw std::runtime_error("Unknown access type!");
}

}  // namespace

std::string toString(AccessType value) { return wordOf(accessTypes, value); }

std::string toString(FileCreateMode value) { return wordOf(fileCreateModes, value); }

std::string toString(FileHandleCloseOperation value) {
    return wordOf(fileHandleCloseOperations, value);
}

std::string toString(InvitationStatus value) { return wordOf(invitationStatuses, value); }

std::string toString(InvitationType value) { return wordOf(invitationTypes, value); }

AccessType stringToAccessType(const std::string& text) {
    return valueOf<AccessType>(accessTypes, text);
}

InvitationStatus stringToInvitationStatus(const std::string& text) {
    return valueOf<InvitationStatus>(invitationStatuses, text);
}

InvitationType stringToInvitationType(const std::string& text) {
    return valueOf<InvitationType>(invitationTypes, text);
}

}  // namespace storage::kvxclient
