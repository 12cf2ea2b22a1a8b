// Measures the store beside raw SQLite, plain files and, when its folder is given, Azurite.

#include <cstdio>
#include <memory>

#include "Harness.h"
#include "store/Azurite.h"
#include "store/EmbeddedStore.h"
#include "store/PlainFiles.h"
#include "store/RawSqlite.h"

namespace {

using bench::Goal;
using bench::Load;

constexpr int rounds = 5;
constexpr double roundTime = 400;

struct NamedPeer {
    const char* name;
    std::unique_ptr<bench::Peer> peer;
};

using Peers = std::vector<NamedPeer>;

template <class Local>
NamedPeer prepared(const char* name, const std::string& place) {
    std::fprintf(stderr, "Preparing %s ...\n", name);
    auto peer = std::make_unique<Local>(place);
    peer->prepare();
    return {name, std::move(peer)};
}

bench::Row row(const Peers& peers, const std::string& name, const std::string& unit, Load load,
               std::vector<Goal> goals) {
    bench::Row result{"Store", name, unit, {}, std::move(goals)};
    for (const NamedPeer& peer : peers) {
        result.contestants.push_back(
            {peer.name, [&peer, load] { return peer.peer->run(load, roundTime); }});
    }
    return result;
}

void runAll(const Peers& peers, const std::string& wanted) {
    constexpr std::size_t kibi = 1UL << 10U;
    constexpr std::size_t mebi = 1UL << 20U;
    const auto faster = [](double factor, const char* peer) {
        return Goal{Goal::TIMES_AS_FAST, factor, peer};
    };
    const bench::Row rows[] = {
        row(peers, "put 1 KiB, 8 threads", "file", {Load::PUT, kibi},
            {faster(40, "Azurite"), {Goal::TIMES_THE_TIME, 2.5, "raw SQLite"}}),
        row(peers, "put 64 KiB, 8 threads", "file", {Load::PUT, 64 * kibi}, {}),
        row(peers, "put 4 MiB, 8 threads", "file", {Load::PUT, 4 * mebi}, {faster(3, "Azurite")}),
        row(peers, "get 1 KiB, 8 threads", "file", {Load::GET, kibi}, {faster(100, "Azurite")}),
        row(peers, "get 64 KiB, 8 threads", "file", {Load::GET, 64 * kibi}, {}),
        row(peers, "get 4 MiB, 8 threads", "file", {Load::GET, 4 * mebi}, {}),
        row(peers, "64 KiB ranges through a handle, 8 threads", "range", {Load::RANGE, 64 * kibi},
            {faster(60, "Azurite")}),
        row(peers, "three gets to a put of 1 KiB, 8 threads", "operation", {Load::MIXED, kibi}, {}),
        row(peers, "listing 100,000 entries", "entry", {Load::LIST, 1, 1},
            {faster(150, "Azurite"), faster(1, "plain files")}),
    };
    for (const bench::Row& each : rows) {
        if (each.name.find(wanted) == std::string::npos) {
            continue;
        }
        std::fprintf(stderr, "%s ...\n", each.name.c_str());
        bench::run(each, rounds);
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_store empty-folder [folder-with-azurite [row]]\n");
        return 2;
    }
    const std::string folder = argv[1];
    Peers peers;
    peers.push_back(prepared<bench::EmbeddedStore>("kvxstore", "sqlite://" + folder + "/store.db"));
    peers.push_back(prepared<bench::RawSqlite>("raw SQLite", folder));
    peers.push_back(prepared<bench::PlainFiles>("plain files", folder + "/plain"));
    if (argc > 2 && *argv[2] != '\0') {
        peers.push_back(
            {"Azurite", std::make_unique<bench::Azurite>(argv[2], folder + "/azurite")});
    }
    runAll(peers, argc > 3 ? argv[3] : "");
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
