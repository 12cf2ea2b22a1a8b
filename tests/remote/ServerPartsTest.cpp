#include <gtest/gtest.h>

#include <thread>

#include "server/Budget.h"
#include "server/Handles.h"
#include "server/Logins.h"
#include "server/Outcomes.h"
#include "server/Spill.h"

// What takes too long, or too much, to be seen from outside.

namespace storage::kvxserver {

namespace {

using Verdict = Outcomes::Verdict;

/// Arrives and, if it is carried out, completes.
Verdict carryOut(Outcomes& outcomes, const std::string& call, bool repeated = false,
                 std::chrono::milliseconds age = std::chrono::seconds(5)) {
    Outcomes::Arrival arrival;
    arrival.session = "s";
    arrival.call = call;
    arrival.repeated = repeated;
    arrival.age = age;
    std::uint64_t attempt = 0;
    const Verdict verdict = outcomes.arrive(
        arrival, [](auto) {}, [] {}, attempt);
    if (verdict == Verdict::CARRY_OUT) {
        EXPECT_TRUE(outcomes.received(arrival, attempt));
        outcomes.complete(arrival, attempt, std::make_shared<const Outcome>());
    }
    return verdict;
}

TEST(ServerOutcomes, refusesARepeatOnlyWhenAnOutcomeOfItsAgeIsLost) {
    Outcomes outcomes(2);
    EXPECT_EQ(carryOut(outcomes, "a"), Verdict::CARRY_OUT);
    EXPECT_EQ(carryOut(outcomes, "b"), Verdict::CARRY_OUT);
    EXPECT_EQ(carryOut(outcomes, "a", true), Verdict::ANSWERED);
    EXPECT_EQ(carryOut(outcomes, "c", true), Verdict::CARRY_OUT);
    // Now "a" is lost.
    EXPECT_EQ(carryOut(outcomes, "a", true), Verdict::IN_DOUBT);
    EXPECT_EQ(carryOut(outcomes, "c", true), Verdict::ANSWERED);
    EXPECT_EQ(carryOut(outcomes, "d"), Verdict::CARRY_OUT);
    Outcomes shortLived(100, 1UL << 20U, std::chrono::milliseconds(1));
    EXPECT_EQ(carryOut(shortLived, "a"), Verdict::CARRY_OUT);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    // What has just been sent may have been on its way for some seconds.
    EXPECT_EQ(carryOut(shortLived, "a", true, {}), Verdict::IN_DOUBT);
    EXPECT_EQ(shortLived.counts().inDoubt, 1U);
}

TEST(ServerOutcomes, countsLongSessionsAndKeepsNoneThatNobodyMayAskFor) {
    Outcomes outcomes(100, 10'000);
    Outcomes::Arrival arrival;
    arrival.session = std::string(3000, 's');
    for (const bool keeps : {false, true}) {
        for (const char* call : {"a", "b", "c"}) {
            std::uint64_t attempt = 0;
            unsigned answered = 0;
            arrival.call = call;
            outcomes.arrive(
                arrival, [](auto) {}, [] {}, attempt);
            outcomes.received(arrival, attempt);
            outcomes.arrive(
                arrival, [&](auto) { ++answered; }, [] {}, attempt);
            outcomes.complete(arrival, attempt, std::make_shared<const Outcome>(), keeps);
            EXPECT_EQ(answered, 1U);
        }
        EXPECT_EQ(outcomes.counts().kept, keeps ? 1U : 0U);
    }
}

TEST(ServerOutcomes, givesOneOutcomeToAllWhoJoinAndNoneToAnAbortedAttempt) {
    Outcomes outcomes;
    Outcomes::Arrival arrival;
    arrival.call = "a";
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    std::uint64_t third = 0;
    unsigned aborted = 0;
    unsigned answered = 0;
    const auto waiter = [&](auto outcome) { answered += outcome->status == 201 ? 1 : 100; };
    const auto abort = [&] { ++aborted; };
    outcomes.arrive(arrival, waiter, abort, first);
    EXPECT_EQ(outcomes.arrive(arrival, waiter, abort, second), Verdict::CARRY_OUT);
    EXPECT_EQ(aborted, 1U);
    EXPECT_FALSE(outcomes.received(arrival, first));
    outcomes.forget(arrival, first);
    EXPECT_TRUE(outcomes.received(arrival, second));
    EXPECT_EQ(outcomes.arrive(arrival, waiter, abort, third), Verdict::ANSWERED);
    EXPECT_EQ(answered, 0U);
    outcomes.complete(arrival, second, std::make_shared<const Outcome>(Outcome{201, {}, {}}));
    outcomes.arrive(arrival, waiter, abort, third);
    EXPECT_EQ(answered, 2U);
    EXPECT_EQ(aborted, 1U);
}

TEST(ServerBudget, givesRoomInOrderAndKeepsUsersApart) {
    const auto budget = std::make_shared<Budget>(100, 40);
    std::string order;
    std::map<char, std::shared_ptr<Budget::Share>> shares;
    const auto take = [&](const std::string& user, std::size_t amount, char name) {
        budget->take(user, amount, [&, name](auto share) {
            order += name;
            shares[name] = std::move(share);
        });
    };
    take("u", 50, 'a');  // More than the user's limit, but alone.
    take("u", 10, 'b');
    take("v", 30, 'c');
    take("u", 1, 'd');
    take("w", 30, 'e');  // Beyond the total.
    take("x", 5, 'f');   // Not before an earlier one.
    EXPECT_EQ(order, "ac");
    shares['c'].reset();
    EXPECT_EQ(order,
              "ace"
              "f");
    shares['a'].reset();
    EXPECT_EQ(order, "acefbd");
    shares['b']->resize(60);
    EXPECT_EQ(budget->inUse(), 96U);
    // One urgent share of a user goes beyond all limits, a second one waits for it.
    for (const char name : {'g', 'h'}) {
        budget->take(
            "u", 50,
            [&, name](auto share) {
                order += name;
                shares[name] = std::move(share);
            },
            true);
    }
    EXPECT_EQ(order, "acefbdg");
    shares['g'].reset();
    EXPECT_EQ(order, "acefbdgh");
    shares.clear();
    EXPECT_EQ(budget->inUse(), 0U);
}

TEST(ServerHandles, failWhatFollowsANumberThatNeverComes) {
    Handles handles(1, std::chrono::milliseconds(0));
    const Handles::Key key = {"s", "h"};
    EXPECT_TRUE(handles.reserve("s"));
    EXPECT_FALSE(handles.reserve("s"));
    EXPECT_TRUE(handles.reserve("t"));
    handles.opened(key, {u"/f", u""}, nullptr);
    std::string seen;
    const auto await = [&](std::uint64_t number) {
        handles.await(key, Handles::CALL, number, [&, number](bool passes) {
            seen += std::to_string(number) + (passes ? "+" : "-");
        });
    };
    await(3);
    await(1);
    // While the number is here it may take its time: it receives its body, or waits for room.
    handles.arrived(key, 1);
    handles.giveUpWaiting();
    EXPECT_EQ(seen, "1+");
    handles.left(key, 1);
    handles.giveUpWaiting();
    await(4);
    await(1);
    EXPECT_EQ(seen, "1+3-4-1+");
    EXPECT_TRUE(handles.takeUnused(std::chrono::hours(1)).empty());
    EXPECT_EQ(handles.takeUnused(std::chrono::milliseconds(-1)).size(), 1U);
    EXPECT_TRUE(handles.reserve("s"));
}

TEST(ServerLogins, waitOneAfterTheOtherAndNotForLong) {
    Logins logins(2);
    EXPECT_EQ(logins.delay("a")->count(), 0);
    logins.failed("a");
    EXPECT_EQ(logins.delay("a")->count(), 0);
    logins.failed("a");
    for (int second = 1; second <= 30; ++second) {
        const auto delay = logins.delay("a");
        ASSERT_TRUE(delay) << second;
        EXPECT_NEAR(static_cast<double>(delay->count()), second * 1000, 500);
    }
    EXPECT_FALSE(logins.delay("a"));
    EXPECT_EQ(logins.delay("b")->count(), 0);
    EXPECT_EQ(logins.delayed(), 30U);
}

/// Reads what there is, up to so many bytes; false when the content has failed.
bool readFrom(Source& source, std::string& into, std::size_t most, bool& ended) {
    bool isGood = true;
    bool isThere = true;
    while (isGood && isThere && !ended && into.size() < most) {
        isThere = false;
        source.next([&](std::optional<std::string_view> block) {
            isThere = true;
            isGood = block.has_value();
            ended = block && block->empty();
            into += block.value_or("");
        });
    }
    return isGood;
}

TEST(ServerSpill, givesEachByteOnceWhoeverIsFaster) {
    std::string content;
    while (content.size() < 16UL << 20U) {
        content += std::to_string(content.size()) + ' ';
    }
    constexpr std::size_t mebibyte = 1UL << 20U;
    const struct {
        std::uint64_t start;
        std::uint64_t length;
        bool fails;
    } cases[] = {
        {0, UINT64_MAX, false}, {0, UINT64_MAX, true}, {3 * mebibyte + 1, 9 * mebibyte, false}};
    for (const auto& example : cases) {
        bool begun = false;
        const auto spill =
            std::make_shared<Spill>(example.start, example.length, false, [&] { begun = true; });
        const auto source = spill->source();
        const auto write = [&](std::size_t from, std::size_t to) {
            for (std::size_t at = from; at < to; at += 100'000) {
                EXPECT_TRUE(
                    spill->write(content.data() + at, std::min<std::size_t>(100'000, to - at)));
            }
        };
        std::string got;
        bool ended = false;
        write(0, 10 * mebibyte);  // More than waits in memory.
        EXPECT_TRUE(begun);
        EXPECT_TRUE(readFrom(*source, got, 5 * mebibyte, ended));
        write(10 * mebibyte, 14 * mebibyte);  // While some wait in the file.
        EXPECT_TRUE(readFrom(*source, got, 8 * mebibyte, ended));
        write(14 * mebibyte, content.size());
        spill->finish(example.fails ? std::optional<std::string>("3") : std::nullopt);
        EXPECT_EQ(readFrom(*source, got, SIZE_MAX, ended), !example.fails);
        EXPECT_EQ(ended, !example.fails);
        EXPECT_TRUE(got == content.substr(example.start, example.length));
        EXPECT_EQ(source->failure(), example.fails ? "3" : "");
    }
    const auto abandoned = std::make_shared<Spill>(0, UINT64_MAX, false, [] {});
    abandoned->source().reset();
    EXPECT_FALSE(abandoned->write("x", 1));
}

}  // namespace

}  // namespace storage::kvxserver
