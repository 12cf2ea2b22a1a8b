// Measures the store on the PostgreSQL server that KVXSTORE_TEST_POSTGRES names, beside the same
// rows by plain SQL and the store in a file.

#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "Harness.h"
#include "postgresql/RawPostgres.h"
#include "store/EmbeddedStore.h"

namespace {

using bench::Contestant;
using bench::Goal;
using bench::Load;
using bench::Row;
using storage::kvxstore::Store;

constexpr int rounds = 5;
constexpr double roundTime = 1000;
constexpr int mostProcesses = 4;
constexpr int callersOfProcess = 16;

/// One of the programs that share a store: stores files in a bucket of its own, and prints how many
/// it stores in a second.
void write(const std::string& url, const std::string& token, double milliseconds) {
    using namespace storage::kvxclient;
    const auto client = Store::open(url)->createClient();
    client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());
    const auto files = client->createFileAccess();
    std::atomic<unsigned> stored{0};
    const std::string content(1024, 'c');
    const double start = bench::now();
    const auto isOver = [&] { return bench::now() - start > milliseconds * 1e6; };
    std::vector<std::jthread> callers;
    for (int i = 0; i < callersOfProcess; ++i) {
        callers.emplace_back([&, i] {
            for (unsigned number = 0; !isOver(); ++number, ++stored) {
                const std::string name = "/" + std::to_string(getpid()) + "-" + std::to_string(i) +
                                         "-" + std::to_string(number);
                FileCreateRequest request(Resource(std::u16string(name.begin(), name.end()), u""));
                request.appendContent(content.data(), content.size());
                files->createFile(std::move(request));
            }
        });
    }
    callers.clear();
    std::printf("%f\n", stored / ((bench::now() - start) / 1e9));
}

/// Verifies a store and prints the nanoseconds, and the KiB that it took beside those at the start.
void verify(const std::string& url) {
    const auto store = Store::open(url);
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const long before = peak();
    const double start = bench::now();
    if (!store->verify().empty()) {
        throw std::runtime_error("the store is damaged");
    }
    std::printf("%f %ld\n", bench::now() - start, peak() - before);
}

/// Runs this program in another process; two numbers of what it prints, or one and 0.
class Other {
public:
    explicit Other(const std::string& arguments)
        : output_(popen(("'" + program + "' " + arguments).c_str(), "r"), pclose) {}

    std::array<double, 2> numbers() {
        std::array<double, 2> read{};
        if (std::fscanf(output_.get(), "%lf %lf", &read[0], &read[1]) < 1) {
            throw std::runtime_error("another process failed");
        }
        return read;
    }

    static inline std::string program;

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> output_;
};

/// The store on one of the engines.
struct Engine {
    const char* name;
    std::string url;
    bench::EmbeddedStore peer{url};
    std::vector<std::string> tokens = {};

    void prepare() {
        std::fprintf(stderr, "Preparing %s ...\n", name);
        for (int i = 0; i < mostProcesses; ++i) {
            const std::string user = "writer" + std::to_string(i);
            tokens.push_back(
                Store::open(url)->createUser({std::u16string(user.begin(), user.end())}));
        }
        peer.prepare();
    }

    Contestant writers(int processes) const {
        return {std::string(name) + ", " + std::to_string(processes) +
                    (processes == 1 ? " process" : " processes"),
                [this, processes] {
                    std::vector<Other> running;
                    for (int i = 0; i < processes; ++i) {
                        running.emplace_back("write '" + url + "' " + tokens.at(i));
                    }
                    double inSecond = 0;
                    for (Other& other : running) {
                        inSecond += other.numbers()[0];
                    }
                    return 1e9 / inSecond;
                }};
    }

    Contestant verifying() const {
        return {name, [this] { return Other("verify '" + url + "'").numbers()[0]; }};
    }
};

std::string wantedRows;

Contestant loaded(const char* name, bench::Peer& peer, Load load) {
    return {name, [&peer, load] { return peer.run(load, roundTime); }};
}

/// Measures a row, if its name has the words that were asked for.
void measure(const Row& row) {
    if (row.name.find(wantedRows) == std::string::npos) {
        return;
    }
    std::fprintf(stderr, "%s ...\n", row.name.c_str());
    bench::run(row, rounds);
}

void runAll(Engine& server, Engine& file, bench::Peer& plain) {
    constexpr std::size_t kibi = 1UL << 10U;
    constexpr const char* section = "PostgreSQL";
    const std::string onServer = "PostgreSQL: ";
    const Goal halfOfPlain{Goal::TIMES_THE_TIME, 2, "plain SQL"};
    const struct {
        const char* name;
        const char* unit;
        Load load;
        std::vector<Goal> goals;
    } loads[] = {
        {"put 1 KiB, 64 at once", "file", {Load::PUT, kibi, 64}, {halfOfPlain}},
        {"put 1 KiB, one at a time", "file", {Load::PUT, kibi, 1}, {}},
        {"get 1 KiB, 8 at once", "file", {Load::GET, kibi}, {}},
        {"get 4 MiB, one at a time", "file", {Load::GET, 4096 * kibi, 1}, {}},
        {"64 KiB ranges through a handle, 8 at once", "range", {Load::RANGE, 64 * kibi}, {}},
        {"listing 100,000 entries",
         "entry",
         {Load::LIST, 1, 1},
         {{Goal::TIMES_THE_TIME, 3, file.name}}},
    };
    for (const auto& each : loads) {
        measure({section,
                 onServer + each.name,
                 each.unit,
                 {loaded(server.name, server.peer, each.load),
                  loaded("plain SQL", plain, each.load), loaded(file.name, file.peer, each.load)},
                 each.goals});
    }
    const double inSecond = 1e9 / server.peer.run({Load::GET, kibi}, 3 * roundTime);
    std::printf(
        "goal\t%s\t%sget 1 KiB, 8 at once\t4,000 a second, or half of plain SQL's"
        "\t%.0f a second\t%s\n",
        section, onServer.c_str(), inSecond, inSecond >= 4'000 ? "met" : "missed");
    measure({section,
             onServer + "verifying 100,000 files",
             "store",
             {server.verifying(), file.verifying()},
             {{Goal::TIMES_THE_TIME, 4, file.name}}});
    for (const Engine* engine : {&server, &file}) {
        std::printf("fact\t%s\tmemory to verify, %s\t%.0f MiB\n", section, engine->name,
                    Other("verify '" + engine->url + "'").numbers()[1] / 1024);
    }
    const Contestant inFile = file.writers(4);
    measure({section,
             onServer + "put 1 KiB by several processes, a bucket each, 16 at once in each",
             "file",
             {server.writers(4), asMark(server.writers(1)), asMark(server.writers(2)), inFile},
             {{Goal::TIMES_AS_FAST, 1, inFile.name}}});
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "write" && argc == 4) {
        write(argv[2], argv[3], roundTime);
        return 0;
    }
    if (first == "verify" && argc == 3) {
        verify(argv[2]);
        return 0;
    }
    const char* const url = std::getenv("KVXSTORE_TEST_POSTGRES");
    if (argc < 2 || url == nullptr) {
        std::fprintf(stderr, "usage: script/with-postgres bench_postgres empty-folder [row]\n");
        return 2;
    }
    Other::program = argv[0];
    wantedRows = argc > 2 ? argv[2] : "";
    bench::runOnServer(url, "create schema store");
    bench::RawPostgres plain(url);
    Engine server{"kvxstore on PostgreSQL", std::string(url) + "&options=-csearch_path%3Dstore"};
    Engine file{"kvxstore in a file", "sqlite://" + first + "/store.db"};
    std::fprintf(stderr, "Preparing plain SQL ...\n");
    plain.prepare();
    server.prepare();
    file.prepare();
    runAll(server, file, plain);
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
