#include <gtest/gtest.h>

#include <stdexcept>

#include "storage/kvxclient/Enumerations.h"

using namespace storage::kvxclient;

namespace {

template <class Enumeration>
void expectWords(std::initializer_list<std::string> words) {
    int value = 0;
    for (const auto& word : words) {
        EXPECT_EQ(word, toString(static_cast<Enumeration>(value++)));
    }
    for (const int outside : {value, -1, 1 << 30}) {
        EXPECT_EQ("UNKNOWN", toString(static_cast<Enumeration>(outside)));
    }
}

template <class Enumeration>
void expectReadable(Enumeration (*read)(const std::string&), int count) {
    for (int value = 0; value < count; ++value) {
        EXPECT_EQ(value, static_cast<int>(read(toString(static_cast<Enumeration>(value)))));
    }
    const std::string last = toString(static_cast<Enumeration>(count - 1));
    for (const std::string& text :
         {std::string(), std::string("UNKNOWN"), " " + last, last + " ", last.substr(1),
          last + std::string(1, '\0'), std::string("owner"), std::string("CLOSED")}) {
        try {
            read(text);
            ADD_FAILURE() << "read '" << text << "'";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ("Unknown access type!", error.what());
        }
    }
}

TEST(Enumerations, haveTheirWordsAndUnknownForTheRest) {
    expectWords<AccessType>({"READ_ONLY", "READ_WRITE", "OWNER"});
    expectWords<FileCreateMode>({"CREATE", "UPDATE", "CREATE_OR_UPDATE"});
    expectWords<FileHandleCloseOperation>({"COMMIT_CHANGES", "ABORT_CHANGES"});
    expectWords<InvitationStatus>({"PENDING", "ACCEPTED", "DECLINED"});
    expectWords<InvitationType>({"OPEN", "PERSONAL", "CREATED_FROM_OPEN"});
}

TEST(Enumerations, areReadFromExactlyTheirWords) {
    expectReadable(stringToAccessType, 3);
    expectReadable(stringToInvitationStatus, 3);
    expectReadable(stringToInvitationType, 3);
}

}  // namespace
