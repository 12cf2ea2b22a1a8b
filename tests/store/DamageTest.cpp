#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

constexpr unsigned long kib = 1UL << 10U;

/// Bytes of which no two blocks are the same.
std::string patterned(unsigned long size, char first) {
    std::string bytes;
    for (unsigned long i = 0; bytes.size() < size; ++i) {
        bytes += first + std::to_string(i) + ' ';
    }
    bytes.resize(size);
    return bytes;
}

/// A store on disk, and every way to read its files. Contents and their chunks are numbered: /d/f
/// has content 1 (chunks 1 to 3) and then 2 (chunks 4 to 6), /small 3 (7), /other 4 (8 to 10) and
/// /holes 5 (11 and 12).
class DamagedStore {
public:
    DamagedStore() {
        user.makeFolder(u"/d");
        user.put(u"/d/f", first);
        user.put(u"/d/f", second, true);
        user.copy(u"/d/f", u"/copy");
        user.put(u"/small", "small");
        user.put(u"/other", other);
        const OpenFile file(user, u"/holes");
        file.write(3'000 * kib, "in the middle");
        file.write(9'000 * kib, "end");
        file.close();
        holes.resize(9'000 * kib + 3);
        holes.replace(3'000 * kib, 13, "in the middle").replace(9'000 * kib, 3, "end");
        handle = user.openToRead(u"/d/f");
        holesHandle = user.openToRead(u"/holes");
        location = user.offer(u"/d/f");
    }

    /// What each way to read gives: "right", "wrong", or the code and cause of its failure.
    std::map<std::string, std::string> readAll() const {
        std::map<std::string, std::string> found;
        const auto add = [&](const std::string& way, const std::string& expected,
                             const std::function<std::string()>& read) {
            const auto code =
                codeOf([&] { found[way] = read() == expected ? "right" : "wrong bytes"; });
            if (code) {
                found[way] = *code == Code::INTERNAL_SERVER_ERROR ? causeOf(read) : "wrong code";
            }
        };
        add("file", second, [&] { return user.get(u"/d/f"); });
        add("version", first, [&] { return readVersion(1); });
        add("range", second.substr(300 * kib, 64 * kib),
            [&] { return user.read(handle, 300 * kib, 64 * kib); });
        add("head", second.substr(0, 10), [&] { return user.read(handle, 0, 10); });
        add("download", second, [&] { return download(); });
        add("stream", second, [&] { return streamed(); });
        add("copy", second, [&] { return user.get(u"/copy"); });
        add("small", "small", [&] { return user.get(u"/small"); });
        add("other", other, [&] { return user.get(u"/other"); });
        add("holes", holes, [&] { return user.get(u"/holes"); });
        add("hole", holes.substr(2'999 * kib, 2 * kib),
            [&] { return user.read(holesHandle, 2'999 * kib, 2 * kib); });
        add("gap", holes.substr(6'000 * kib, 10),
            [&] { return user.read(holesHandle, 6'000 * kib, 10); });
        return found;
    }

    void damage(const std::string& sql) const { RawDatabase(folder.file("store.db")).run(sql); }

    TemporaryFolder folder;
    std::shared_ptr<Store> store = Store::open(folder.url());
    Account user{*store, store->createUser({.name = u"u"})};
    const std::string first = patterned(600 * kib, 'a');
    const std::string second = patterned(600 * kib, 'b');
    const std::string other = patterned(600 * kib, 'c');
    std::string holes;
    std::string handle;
    std::string holesHandle;
    std::string location;

private:
    std::string readVersion(int label) const {
        const auto body =
            user.files->readFile(FileReadRequest({u"/d/f", u""}).withVersionLabel(label))
                .getResponseBody();
        return {body.begin(), body.end()};
    }

    std::string download() const {
        return user.files->downloadFile(FileDownloadRequest(location).withReadIntoString(true))
            .getStringBody();
    }

    std::string streamed() const {
        struct Keeping : std::stringstream {
            explicit Keeping(std::string& kept) : text(kept) {}
            ~Keeping() override { text = str(); }
            std::string& text;
        };
        std::string text;
        user.files->downloadFile(FileDownloadRequest(location).withStreamFactory(
            [&] { return std::make_unique<Keeping>(text); }));
        return text;
    }
};

/// The paths of the damaged files.
std::string pathsToldBy(const Store& store) {
    std::string paths;
    store.verify([&](const Damage& damage) {
        paths += damage.path.empty() ? "" : ' ' + Resource(u"", damage.path).getUTF8Bucket();
    });
    return paths;
}

TEST(DamageTest, NoReadGivesWrongBytes) {
    const std::string flip =
        "update chunks set data = cast(substr(data, 1, 60000) || x'00' ||"
        " substr(data, 60002) as blob) where id = ";
    const std::string all = "file range head download stream copy";
    struct {
        std::string what;
        std::string sql;
        /// The ways that must fail.
        std::string failing;
        /// What the first of their causes names.
        std::string named;
    } const cases[] = {
        {"none", "select 1", "", ""},
        {"a byte", flip + "5", "file range download stream copy",
         "/d/f in the bucket u, version 2,"},
        {"a byte of the old version", flip + "2", "version", "/d/f in the bucket u, version 1,"},
        {"a short chunk", "update chunks set data = substr(data, 1, 5000) where id = 5",
         "file range download stream copy", "/d/f"},
        {"a missing chunk", "delete from chunks where id = 5", "file range download stream copy",
         "/d/f"},
        {"a chunk of another file", "update extents set chunk = 9 where content = 2 and idx = 1",
         "file range download stream copy", "/d/f"},
        {"swapped chunks",
         "update extents set idx = 9 - idx where content = 2 and idx < 2;"
         "update extents set idx = 10 - 1 - idx + case idx when 9 then 1 else -1 end"
         " where content = 2 and idx > 2",
         "file range download stream copy", "/d/f"},
        {"a missing extent", "delete from extents where content = 2 and idx = 1",
         "file range download stream copy", "/d/f"},
        {"an extent of wrong size", "update extents set size = 5 where content = 2 and idx = 1",
         "file range download stream copy", "/d/f"},
        {"another content", "update versions set content = 4 where node = 3 and label = 1",
         "version", "/d/f in the bucket u, version 1,"},
        {"another content in a download", "update downloads set content = 4", "download stream",
         "/d/f"},
        {"another content in a handle", "update handles set base = 4 where base = 2", "range head",
         "/d/f"},
        {"a negative size", "update contents set size = -5 where id = 2", all, "/d/f"},
        {"a doubled size", "update contents set size = size * 2 where id = 2", all, "/d/f"},
        {"a doubled size in both",
         "update contents set size = size * 2 where id = 2;"
         "update nodes set size = size * 2 where id = 3",
         all, "/d/f"},
        {"a shorter size", "update contents set size = size - 1, stored = stored - 1 where id = 2",
         all, "/d/f"},
        {"a file of another size", "update nodes set size = -5 where id = 3", "file", "/d/f"},
        {"a hole in place of a chunk", "delete from extents where content = 5 and chunk = 11",
         "hole holes", "/holes"},
        {"a missing hole", "delete from extents where content = 5 and chunk = 0", "holes gap",
         "/holes"},
        {"a chunk that ends early",
         "update extents set size = size - 13 where content = 5 and chunk = 11", "hole holes",
         "/holes"},
        {"a chunk that ends early at a block",
         "update extents set size = 32768 where content = 5 and chunk = 11", "hole holes",
         "/holes"},
        {"a missing content", "delete from contents where id = 2", all, "/d/f"},
        {"a missing version", "delete from versions where node = 3 and label = 2", "file", "/d/f"},
        {"a hole too long", "update extents set size = 99 where content = 5 and idx = 12", "gap",
         "/holes"},
    };
    for (const auto& damage : cases) {
        const DamagedStore damaged;
        damaged.damage(damage.sql);
        std::istringstream ways(damage.failing);
        std::string first;
        const auto found = damaged.readAll();
        for (const auto& [way, result] : found) {
            EXPECT_TRUE(result == "right" || result.find("is damaged: ") != result.npos)
                << damage.what << ", " << way << ": " << result;
        }
        for (std::string way; ways >> way;) {
            EXPECT_NE(found.at(way), "right") << damage.what << ", " << way;
            first = first.empty() ? found.at(way) : first;
        }
        EXPECT_NE(first.find(damage.named), first.npos) << damage.what << ": " << first;
        bool told = damage.named.empty();
        damaged.store->verify([&](const Damage& one) {
            const std::string path = Resource(u"", one.path).getUTF8Bucket();
            const std::string version = ", version " + std::to_string(one.version) + ',';
            told = told || damage.named == path ||
                   (damage.named.starts_with(path + ' ') && damage.named.ends_with(version));
        });
        EXPECT_TRUE(told) << damage.what;
    }
}

TEST(DamageTest, AWriteCoversForNoDamageAndReplacesAllOfIt) {
    for (const char* sql : {"delete from extents where content = 2 and idx = 1",
                            "update extents set size = 16384 where content = 2 and idx = 1",
                            "update contents set size = size - 1 where id = 2",
                            "update chunks set data = x'00' where id = 4"}) {
        const DamagedStore damaged;
        damaged.damage(sql);
        const auto change = [&] {
            const OpenFile file(damaged.user, u"/d/f");
            file.write(5, "x");
            file.close();
        };
        EXPECT_EQ(codeOf(change), Code::INTERNAL_SERVER_ERROR) << sql;
        const OpenFile file(damaged.user, u"/d/f", FileCreateMode::UPDATE, true);
        file.write(0, "new");
        file.close();
        EXPECT_EQ(damaged.user.get(u"/d/f"), "new") << sql;
        damaged.damage(sql);
        damaged.user.put(u"/d/f", damaged.second);
        EXPECT_EQ(damaged.user.get(u"/d/f"), damaged.second) << sql;
    }
}

TEST(DamageTest, VerifyGoesOnAfterAnIndexThatCannotBeRead) {
    const DamagedStore damaged;
    damaged.damage(
        "update chunks set data = x'00' where id = 7; pragma writable_schema = on;"
        "update sqlite_schema set rootpage = (select rootpage from sqlite_schema"
        " where name = 'chunks') where name = 'extents_chunk'");
    EXPECT_EQ(pathsToldBy(*Store::open(damaged.folder.url())), " /small");
}

TEST(DamageTest, VerifyComesToAnEndOverCellsOutOfOrder) {
    const TemporaryFolder folder;
    {
        const auto store = Store::open(folder.url());
        const Account user(*store, store->createUser({.name = u"u"}));
        for (const std::u16string path : {u"/1", u"/2", u"/3", u"/4"}) {
            user.put(path, Resource(u"", path).getUTF8Bucket() + "bytes");
        }
    }
    // The chunks lie in one page of the file: places of cells, and from the end on cells of a size,
    // a number and a header that begins with its size.
    std::stringstream file;
    file << std::ifstream(folder.file("store.db"), std::ios::binary).rdbuf();
    std::string bytes = file.str();
    const std::size_t page = bytes.find("/4bytes") / 16384 * 16384;
    const std::size_t places = page + 8;
    const auto fourth = static_cast<unsigned char>(bytes.at(places + 6)) * 256UL +
                        static_cast<unsigned char>(bytes.at(places + 7));
    ASSERT_EQ(bytes.at(page + fourth + 1), 4);
    bytes.at(page + fourth + 2) = 127;
    std::swap_ranges(&bytes[places + 2], &bytes[places + 4], &bytes[places + 4]);
    std::ofstream(folder.file("store.db"), std::ios::binary) << bytes;
    ::alarm(60);
    EXPECT_EQ(pathsToldBy(*Store::open(folder.url())), " /2 /4");
    ::alarm(0);
}

TEST(DamageTest, PruningByRulesLeavesDamagedSizesToTheCommandForThem) {
    const DamagedStore damaged;
    damaged.damage("update contents set size = size * 2 where id = 1");
    EXPECT_EQ(damaged.store->prune({.keepLast = 1}).versions, 0);
    EXPECT_EQ(damaged.store->pruneDamaged().versions, 1);
    damaged.store->sweep();
    EXPECT_EQ(damaged.store->verify(), std::vector<std::string>());
}

TEST(DamageTest, ALostContentIsReplaced) {
    const DamagedStore damaged;
    damaged.damage("delete from contents where id = 5");  // The newest id, which is given again.
    damaged.user.put(u"/holes", "new");
    EXPECT_EQ(damaged.user.get(u"/holes"), "new");
    EXPECT_EQ(damaged.user.get(u"/other"), damaged.other);
}

TEST(DamageTest, LettingGoTakesNothingThatMayBeSound) {
    for (const char* sql : {"delete from versions where node = 5",
                            "delete from nodes where id = 5; delete from versions where node = 5;"
                            "update contents set size = 1 where id = 2"}) {
        const DamagedStore damaged;
        damaged.damage(sql);
        damaged.store->pruneDamaged();
        damaged.store->sweep();
        // The content of /small may be all that is left of it.
        damaged.damage(
            "create table kept(n integer check(n = 5));"
            "insert into kept select sum(size) from contents where id = 3");
    }
}

TEST(DamageTest, DamagedOldVersionsCanBeLetGoOf) {
    for (const char* sql : {"update chunks set data = zeroblob(length(data)) where id = 2",
                            "update contents set size = size * 2 where id = 1",
                            "update versions set content = 4 where node = 3 and label = 1",
                            "delete from extents where content = 1 and idx = 1"}) {
        const DamagedStore damaged;
        damaged.damage(std::string(sql) + ";update chunks set data = x'00' where id = 7");
        EXPECT_EQ(damaged.store->pruneDamaged(true).versions, 1) << sql;
        EXPECT_EQ(damaged.store->pruneDamaged().versions, 1) << sql;
        EXPECT_EQ(damaged.readAll().at("file"), "right") << sql;
        EXPECT_EQ(damaged.store->pruneDamaged().versions, 0) << sql;
        EXPECT_NE(damaged.readAll().at("small"), "right") << sql;
        damaged.user.put(u"/small", "small");
        damaged.store->sweep();
        damaged.store->pruneDamaged();
        damaged.store->sweep();
        EXPECT_EQ(damaged.store->verify(), std::vector<std::string>()) << sql;
    }
}

}  // namespace
}  // namespace storage::kvxstore
