// Measures the server and its client beside Azurite, nginx and the store without a network.

#include <cstdio>
#include <initializer_list>

#include "Harness.h"
#include "remote/ServedStore.h"
#include "store/Azurite.h"

namespace {

using bench::Goal;
using bench::Load;

constexpr int rounds = 5;
constexpr double roundTime = 400;

struct NamedPeer {
    const char* name;
    bench::Peer* peer;
    bool isMark = false;
};

bench::Row row(std::initializer_list<NamedPeer> peers, const std::string& name,
               const std::string& unit, Load load, std::vector<Goal> goals) {
    bench::Row result{"Network", name, unit, {}, std::move(goals)};
    for (const NamedPeer& each : peers) {
        if (each.peer != nullptr) {
            bench::Contestant contestant{
                each.name, [peer = each.peer, load] { return peer->run(load, roundTime); }};
            result.contestants.push_back(each.isMark ? bench::asMark(contestant) : contestant);
        }
    }
    return result;
}

Goal faster(double factor, const char* peer) { return {Goal::TIMES_AS_FAST, factor, peer}; }
Goal within(double factor, const char* peer) { return {Goal::TIMES_THE_TIME, factor, peer}; }

void runAll(bench::Peer* served, bench::Peer* bare, bench::Peer* nginx, bench::Peer* embedded,
            bench::Peer* azurite) {
    constexpr std::size_t kibi = 1UL << 10U;
    constexpr std::size_t mebi = 1UL << 20U;
    const NamedPeer ours{"kvxremote and kvxd", served};
    const NamedPeer bareClient{"a bare client and kvxd", bare, true};
    const NamedPeer web{"nginx", nginx};
    const NamedPeer store{"kvxstore", embedded};
    const NamedPeer emulator{"Azurite", azurite};
    const bench::Row rows[] = {
        row({ours, web, bareClient}, "empty call, one at a time", "call", {Load::PING, 1, 1},
            {within(1.5, "nginx")}),
        row({ours, web, emulator, store, bareClient}, "get 1 KiB, 8 at once", "file",
            {Load::GET, kibi}, {faster(15, "Azurite"), within(2, "nginx")}),
        row({ours, emulator, store, bareClient}, "put 1 KiB, 8 at once", "file", {Load::PUT, kibi},
            {faster(10, "Azurite"), within(1 / 0.6, "kvxstore")}),
        row({ours, emulator, store}, "put 1 KiB, 64 at once", "file", {Load::PUT, kibi, 64},
            {faster(20, "Azurite"), within(1 / 0.6, "kvxstore")}),
        row({ours, web, emulator, store}, "64 KiB ranges through a handle, 8 at once", "range",
            {Load::RANGE, 64 * kibi}, {faster(15, "Azurite")}),
        row({ours, emulator, store}, "256 MiB up through a handle", "file",
            {Load::UPLOAD, 256 * mebi, 1}, {faster(3, "Azurite"), within(1 / 0.45, "kvxstore")}),
        row({ours, emulator, store}, "256 MiB down through a handle", "file",
            {Load::DOWNLOAD, 256 * mebi, 1}, {faster(3, "Azurite"), within(1 / 0.45, "kvxstore")}),
        row({ours, emulator, store}, "listing 100,000 entries", "entry", {Load::LIST, 1, 1},
            {faster(40, "Azurite"), within(3, "kvxstore")}),
    };
    for (const bench::Row& each : rows) {
        std::fprintf(stderr, "%s ...\n", each.name.c_str());
        bench::run(each, rounds);
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_remote empty-folder [folder-with-azurite]\n");
        return 2;
    }
    const std::string folder = argv[1];
    bench::ServedStore served(folder);
    bench::BareClient bare(served);
    bench::Nginx nginx(folder);
    bench::EmbeddedStore embedded("sqlite://" + folder + "/store.db");
    for (bench::LocalPeer* peer :
         std::initializer_list<bench::LocalPeer*>{&served, &nginx, &embedded}) {
        peer->prepare();
    }
    std::unique_ptr<bench::Azurite> azurite;
    if (argc > 2) {
        azurite = std::make_unique<bench::Azurite>(argv[2], folder + "/azurite");
    }
    runAll(&served, &bare, &nginx, &embedded, azurite.get());
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
