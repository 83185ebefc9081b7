#include "src/platform/BPKeyedStore.h"

#include "tests/platform/PlatformTest.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

namespace {

class BPKeyedStoreOnLinux : public PlatformTest {
  protected:
    const BPKeyedStoreOps& Ops() const { return platform_.keyedStore; }
    std::string File() const { return Path("config/ochrine/Settings.db"); }

    /// The files beside the store's own, without its lock.
    std::vector<std::string> OtherFiles() const
    {
        std::vector<std::string> names = NamesIn(Path("config/ochrine"));
        std::erase(names, "Settings.db");
        std::erase(names, "Settings.db.lock");
        return names;
    }

    BPKeyedStore Open() const
    {
        BPKeyedStore store;
        EXPECT_EQ(Ops().open("Settings", &store), bpNoErr);
        return store;
    }

    /// Runs SQL on the file, as somebody with another tool would.
    bool Sql(const std::string& text) const
    {
        sqlite3* database = nullptr;
        const bool done = sqlite3_open(File().c_str(), &database) == SQLITE_OK &&
                          sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
        sqlite3_close(database);
        return done;
    }

    /// A sound store with enough values for several pages.
    void FillStore() const
    {
        BPKeyedStore store = Open();
        ASSERT_EQ(Ops().begin(&store), bpNoErr);
        for (uint32_t index = 0; index < 300; ++index) {
            const std::string name = "Value " + std::to_string(index);
            ASSERT_EQ(Ops().writeString(&store, name.c_str(), std::string(100, 'v').c_str()), bpNoErr);
        }
        ASSERT_EQ(Ops().commit(&store), bpNoErr);
        Ops().close(&store);
    }

    /// Opens the store in place of a damaged file and expects it empty, usable, and the damage kept and told.
    void ExpectReplaced(int number, const std::string& damaged)
    {
        log_.clear();
        BPKeyedStore store = Open();
        uint32_t value = 7;
        EXPECT_EQ(Ops().readNumber(&store, "Undo Depth", &value), bpNotFoundErr);
        EXPECT_EQ(Ops().writeNumber(&store, "Undo Depth", 20), bpNoErr);
        EXPECT_EQ(Ops().readNumber(&store, "Undo Depth", &value), bpNoErr);
        EXPECT_EQ(value, 20u);
        Ops().close(&store);
        const std::string aside = File() + ".damaged-" + std::to_string(number);
        EXPECT_EQ(ReadWhole(aside), damaged);
        EXPECT_EQ(log_, "The settings store " + File() + " was damaged and is kept as " + aside + "\n");
    }
};

} // namespace

TEST_F(BPKeyedStoreOnLinux, ValuesLiveBetweenRuns)
{
    BPKeyedStore store = Open();
    const uint8_t lut[] = {0, 1, 255, 0, 7};
    EXPECT_EQ(Ops().writeNumber(&store, "Undo Depth", 20), bpNoErr);
    EXPECT_EQ(Ops().writeNumber(&store, "Largest", UINT32_MAX), bpNoErr);
    EXPECT_EQ(Ops().writeString(&store, "Video System", "NTSC"), bpNoErr);
    EXPECT_EQ(Ops().writeString(&store, "Empty", ""), bpNoErr);
    EXPECT_EQ(Ops().writeBlock(&store, "Primary LUT", lut, sizeof lut), bpNoErr);
    EXPECT_EQ(Ops().writeBlock(&store, "Nothing", nullptr, 0), bpNoErr);
    EXPECT_EQ(Ops().writeString(&store, "it's \"quoted\"; DROP TABLE value; \xC3\xA9", "\xC3\xA9"), bpNoErr);
    Ops().close(&store);
    EXPECT_EQ(store.handle, 0u);
    Ops().close(&store);

    EXPECT_EQ(RunInChild([&] {
                  BPKeyedStore mine;
                  if (Ops().open("Settings", &mine) != bpNoErr) return 1;
                  uint32_t number = 0, size = 99;
                  char text[64];
                  uint8_t block[16];
                  if (Ops().readNumber(&mine, "Undo Depth", &number) != bpNoErr || number != 20) return 2;
                  if (Ops().readNumber(&mine, "Largest", &number) != bpNoErr || number != UINT32_MAX) return 3;
                  if (Ops().readString(&mine, "Video System", text, 64) != bpNoErr || strcmp(text, "NTSC") != 0)
                      return 4;
                  if (Ops().readString(&mine, "Empty", text, 64) != bpNoErr || text[0] != 0) return 5;
                  if (Ops().readBlock(&mine, "Primary LUT", block, 16, &size) != bpNoErr || size != 5) return 6;
                  if (memcmp(block, lut, 5) != 0) return 7;
                  if (Ops().readBlock(&mine, "Nothing", block, 16, &size) != bpNoErr || size != 0) return 8;
                  const char* odd = "it's \"quoted\"; DROP TABLE value; \xC3\xA9";
                  if (Ops().readString(&mine, odd, text, 64) != bpNoErr || strcmp(text, "\xC3\xA9") != 0) return 9;
                  Ops().close(&mine);
                  return 0;
              }),
              0);
    EXPECT_EQ(log_, "");
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, MissingAndOtherKindLeaveTheOutputAlone)
{
    BPKeyedStore store = Open();
    ASSERT_EQ(Ops().writeNumber(&store, "number", 1), bpNoErr);
    ASSERT_EQ(Ops().writeString(&store, "string", "text"), bpNoErr);
    ASSERT_EQ(Ops().writeBlock(&store, "block", "1234", 4), bpNoErr);
    for (const char* name : {"missing", "string", "block", "Number", ""}) {
        uint32_t value = 77;
        EXPECT_EQ(Ops().readNumber(&store, name, &value), bpNotFoundErr) << name;
        EXPECT_EQ(value, 77u);
    }
    for (const char* name : {"missing", "number", "block"}) {
        char text[8] = "as it w";
        EXPECT_EQ(Ops().readString(&store, name, text, sizeof text), bpNotFoundErr) << name;
        EXPECT_STREQ(text, "as it w");
    }
    for (const char* name : {"missing", "number", "string"}) {
        char bytes[8] = "as it w";
        uint32_t size = 77;
        EXPECT_EQ(Ops().readBlock(&store, name, bytes, sizeof bytes, &size), bpNotFoundErr) << name;
        EXPECT_STREQ(bytes, "as it w");
        EXPECT_EQ(size, 77u);
    }
    // A value can change its kind.
    EXPECT_EQ(Ops().writeString(&store, "number", "one"), bpNoErr);
    uint32_t value = 77;
    char text[8];
    EXPECT_EQ(Ops().readNumber(&store, "number", &value), bpNotFoundErr);
    EXPECT_EQ(Ops().readString(&store, "number", text, sizeof text), bpNoErr);
    EXPECT_STREQ(text, "one");
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, ReadsKeepTheirBounds)
{
    BPKeyedStore store = Open();
    ASSERT_EQ(Ops().writeString(&store, "text", "0123456789"), bpNoErr);
    ASSERT_EQ(Ops().writeBlock(&store, "block", "0123456789", 10), bpNoErr);
    for (uint32_t capacity = 0; capacity < 14; ++capacity) {
        char text[16], bytes[16];
        memset(text, '#', sizeof text);
        memset(bytes, '#', sizeof bytes);
        const uint32_t kept = std::min(capacity, 11u);
        if (capacity == 0) {
            EXPECT_EQ(Ops().readString(&store, "text", text, 0), bpParamErr);
        } else {
            EXPECT_EQ(Ops().readString(&store, "text", text, capacity), bpNoErr);
            EXPECT_EQ(std::string(text), std::string("0123456789").substr(0, kept - 1));
        }
        EXPECT_EQ(std::count(text + kept, text + 16, '#'), 16 - static_cast<int>(kept)) << capacity;
        uint32_t size = 0;
        EXPECT_EQ(Ops().readBlock(&store, "block", capacity == 0 ? nullptr : bytes, capacity, &size), bpNoErr);
        EXPECT_EQ(size, 10u);
        const uint32_t copied = std::min(capacity, 10u);
        EXPECT_EQ(std::string(bytes, copied), std::string("0123456789").substr(0, copied));
        EXPECT_EQ(std::count(bytes + copied, bytes + 16, '#'), 16 - static_cast<int>(copied)) << capacity;
    }
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, ClosedStoresAndNullsAreRefused)
{
    BPKeyedStore closed = {};
    uint32_t value = 0;
    char text[4];
    EXPECT_EQ(Ops().readNumber(&closed, "x", &value), bpParamErr);
    EXPECT_EQ(Ops().readString(&closed, "x", text, 4), bpParamErr);
    EXPECT_EQ(Ops().readBlock(&closed, "x", text, 4, &value), bpParamErr);
    EXPECT_EQ(Ops().writeNumber(&closed, "x", 1), bpParamErr);
    EXPECT_EQ(Ops().writeString(&closed, "x", "x"), bpParamErr);
    EXPECT_EQ(Ops().writeBlock(&closed, "x", "x", 1), bpParamErr);
    EXPECT_EQ(Ops().begin(&closed), bpParamErr);
    EXPECT_EQ(Ops().commit(&closed), bpParamErr);
    BPKeyedStore store = Open();
    EXPECT_EQ(Ops().writeString(&store, "x", nullptr), bpParamErr);
    EXPECT_EQ(Ops().writeBlock(&store, "x", nullptr, 1), bpParamErr);
    EXPECT_EQ(Ops().writeNumber(&store, nullptr, 1), bpParamErr);
    EXPECT_EQ(Ops().readNumber(&store, nullptr, &value), bpParamErr);
    Ops().close(&store);
    for (const char* name : {"", ".", "..", "a/b", "../x"}) EXPECT_EQ(Ops().open(name, &store), bpParamErr) << name;
    EXPECT_EQ(Ops().open(std::string(64, 'n').c_str(), &store), bpParamErr);
}

TEST_F(BPKeyedStoreOnLinux, StoresDoNotMix)
{
    BPKeyedStore settings = Open(), gallery;
    ASSERT_EQ(Ops().open("Reference Gallery", &gallery), bpNoErr);
    EXPECT_EQ(Ops().writeNumber(&settings, "x", 1), bpNoErr);
    uint32_t value = 0;
    EXPECT_EQ(Ops().readNumber(&gallery, "x", &value), bpNotFoundErr);
    EXPECT_TRUE(Exists(Path("config/ochrine/Reference Gallery.db")));
    Ops().close(&settings);
    Ops().close(&gallery);
}

TEST_F(BPKeyedStoreOnLinux, TransactionIsStoredWholeOrNotAtAll)
{
    BPKeyedStore store = Open();
    uint32_t value = 0;
    ASSERT_EQ(Ops().begin(&store), bpNoErr);
    EXPECT_EQ(Ops().begin(&store), bpParamErr);
    EXPECT_EQ(Ops().writeNumber(&store, "kept", 1), bpNoErr);
    EXPECT_EQ(Ops().readNumber(&store, "kept", &value), bpNoErr);
    EXPECT_EQ(Ops().commit(&store), bpNoErr);
    EXPECT_EQ(Ops().commit(&store), bpParamErr);

    ASSERT_EQ(Ops().begin(&store), bpNoErr);
    EXPECT_EQ(Ops().writeNumber(&store, "kept", 2), bpNoErr);
    EXPECT_EQ(Ops().writeNumber(&store, "lost", 2), bpNoErr);
    Ops().close(&store); // without commit

    store = Open();
    EXPECT_EQ(Ops().readNumber(&store, "kept", &value), bpNoErr);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(Ops().readNumber(&store, "lost", &value), bpNotFoundErr);

    // A write that fails takes the others with it, and the store works on.
    ASSERT_EQ(Ops().begin(&store), bpNoErr);
    EXPECT_EQ(Ops().writeNumber(&store, "lost", 3), bpNoErr);
    EXPECT_EQ(Ops().writeBlock(&store, "huge", "x", 1500000000u), bpParamErr);
    EXPECT_EQ(Ops().writeNumber(&store, "after", 3), bpNoErr);
    EXPECT_EQ(Ops().commit(&store), bpParamErr);
    EXPECT_EQ(Ops().readNumber(&store, "lost", &value), bpNotFoundErr);
    EXPECT_EQ(Ops().readNumber(&store, "after", &value), bpNotFoundErr);
    EXPECT_EQ(Ops().writeNumber(&store, "after", 4), bpNoErr);
    EXPECT_EQ(Ops().readNumber(&store, "after", &value), bpNoErr);
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, TwoProcessesDoNotLoseEachOthersWrites)
{
    BPKeyedStore store = Open();
    ASSERT_EQ(Ops().writeNumber(&store, "count", 0), bpNoErr);
    Ops().close(&store);
    const auto count = [this](const char* own) {
        BPKeyedStore mine;
        if (Ops().open("Settings", &mine) != bpNoErr) return 1;
        for (uint32_t round = 1; round <= 60; ++round) {
            uint32_t value = 0;
            if (Ops().begin(&mine) != bpNoErr) return 2;
            if (Ops().readNumber(&mine, "count", &value) != bpNoErr) return 3;
            if (Ops().writeNumber(&mine, "count", value + 1) != bpNoErr) return 4;
            if (Ops().commit(&mine) != bpNoErr) return 5;
            if (Ops().writeNumber(&mine, own, round) != bpNoErr) return 6;
            usleep(300);
        }
        Ops().close(&mine);
        return 0;
    };
    Child first([&] { return count("first"); });
    Child second([&] { return count("second"); });
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    store = Open();
    uint32_t value = 0;
    EXPECT_EQ(Ops().readNumber(&store, "count", &value), bpNoErr);
    EXPECT_EQ(value, 120u);
    for (const char* own : {"first", "second"}) {
        EXPECT_EQ(Ops().readNumber(&store, own, &value), bpNoErr);
        EXPECT_EQ(value, 60u);
    }
    Ops().close(&store);
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, KilledWriterLeavesAWholeStore)
{
    uint32_t last = 0;
    bool moved = false;
    for (int round = 0; round < 30; ++round) {
        Gate begun;
        Child writer([&] {
            BPKeyedStore mine;
            if (Ops().open("Settings", &mine) != bpNoErr) return 1;
            uint32_t value = 0;
            if (BPStatus err = Ops().readNumber(&mine, "a", &value); err != bpNoErr && err != bpNotFoundErr) return 2;
            // Every other writer has stored something before its end is near, however slow the disk is.
            bool told = round % 2 == 0;
            if (told) begun.Open();
            std::vector<uint32_t> block(33556 / 4);
            for (;;) {
                value++;
                std::fill(block.begin(), block.end(), value);
                if (Ops().begin(&mine) != bpNoErr) return 3;
                if (Ops().writeNumber(&mine, "a", value) != bpNoErr) return 4;
                if (Ops().writeBlock(&mine, "Saved Settings 1", block.data(), 33556) != bpNoErr) return 5;
                if (Ops().writeNumber(&mine, "b", value) != bpNoErr) return 6;
                if (Ops().commit(&mine) != bpNoErr) return 7;
                if (!std::exchange(told, true)) begun.Open();
            }
        });
        ASSERT_TRUE(begun.Wait());
        usleep(static_cast<useconds_t>(1000 + round * 733));
        writer.Kill();
        ASSERT_EQ(writer.Wait(), 128 + 9);

        BPKeyedStore store = Open();
        uint32_t a = 0, b = 0, size = 0;
        std::vector<uint32_t> block(33556 / 4);
        const BPStatus found = Ops().readNumber(&store, "a", &a);
        if (found == bpNoErr) {
            EXPECT_EQ(Ops().readNumber(&store, "b", &b), bpNoErr);
            EXPECT_EQ(Ops().readBlock(&store, "Saved Settings 1", block.data(), 33556, &size), bpNoErr);
            EXPECT_EQ(a, b);
            EXPECT_EQ(size, 33556u);
            EXPECT_EQ(std::count(block.begin(), block.end(), a), 33556 / 4) << a;
            EXPECT_GE(a, last);
            moved = moved || a > last;
            last = a;
        } else {
            EXPECT_EQ(found, bpNotFoundErr);
            EXPECT_EQ(last, 0u);
        }
        Ops().close(&store);
    }
    EXPECT_TRUE(moved);
    EXPECT_EQ(log_, "");
}

TEST_F(BPKeyedStoreOnLinux, FileIsPrivate)
{
    const mode_t before = umask(0);
    BPKeyedStore store = Open();
    umask(before);
    Ops().close(&store);
    struct stat info;
    ASSERT_EQ(stat(File().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    ASSERT_EQ(chmod(File().c_str(), 0666), 0);
    store = Open();
    Ops().close(&store);
    ASSERT_EQ(stat(File().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST_F(BPKeyedStoreOnLinux, DamagedFilesArePutAside)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    const std::string garbage(5000, 'g');
    ASSERT_TRUE(WriteWhole(File(), garbage));
    ExpectReplaced(1, garbage);

    // Another one takes the next number.
    ASSERT_TRUE(WriteWhole(File(), "short"));
    ExpectReplaced(2, "short");

    // A torn page in the middle.
    FillStore();
    std::string torn = ReadWhole(File());
    ASSERT_GT(torn.size(), 5 * 4096u);
    std::fill(torn.begin() + 4096, torn.begin() + 4 * 4096, '\xFF');
    ASSERT_TRUE(WriteWhole(File(), torn));
    ExpectReplaced(3, torn);

    // A file cut short.
    FillStore();
    const std::string cut = ReadWhole(File()).substr(0, 3 * 4096 + 10);
    ASSERT_TRUE(WriteWhole(File(), cut));
    ExpectReplaced(4, cut);

    // A sound database of somebody else.
    ASSERT_EQ(unlink(File().c_str()), 0);
    ASSERT_TRUE(Sql("CREATE TABLE value (other INTEGER); INSERT INTO value VALUES (1)"));
    ExpectReplaced(5, ReadWhole(File()));
}

TEST_F(BPKeyedStoreOnLinux, ATableWithAnotherNumberOfColumnsIsPutAside)
{
    int number = 0;
    for (const char* more : {", more TEXT NOT NULL", ", more TEXT"}) {
        unlink(File().c_str());
        BPKeyedStore store = Open(); // makes the folder
        Ops().close(&store);
        ASSERT_EQ(unlink(File().c_str()), 0);
        ASSERT_TRUE(Sql("CREATE TABLE value (name TEXT NOT NULL PRIMARY KEY, kind INTEGER NOT NULL, content NOT NULL" +
                        std::string(more) + ")"));
        ExpectReplaced(++number, ReadWhole(File()));
    }
}

TEST_F(BPKeyedStoreOnLinux, AValueTooBigForMemoryIsNoValueAndIsReplacedByTheNextWrite)
{
    BPKeyedStore store = Open();
    const std::vector<uint8_t> slot(33556, 7);
    ASSERT_EQ(Ops().writeBlock(&store, "slot", slot.data(), 33556), bpNoErr);
    ASSERT_TRUE(Sql("INSERT INTO value VALUES ('a', 2, CAST(zeroblob(8000000) AS TEXT)), ('b', 3, zeroblob(8000000)),"
                    "('c', 1, zeroblob(1048577))"));
    const auto check = [&] {
        char text[8] = "as it w";
        uint32_t value = 77, size = 77;
        EXPECT_EQ(Ops().readString(&store, "a", text, sizeof text), bpNotFoundErr);
        EXPECT_STREQ(text, "as it w");
        EXPECT_EQ(Ops().readBlock(&store, "b", text, sizeof text, &size), bpNotFoundErr);
        EXPECT_EQ(size, 77u);
        EXPECT_EQ(Ops().readNumber(&store, "c", &value), bpNotFoundErr);
        EXPECT_EQ(value, 77u);
    };
    check();
    Ops().close(&store);
    sqlite3_memory_highwater(1);
    store = Open();
    check();
    EXPECT_LT(sqlite3_memory_highwater(0), 3 << 20);
    std::vector<uint8_t> found(33556);
    uint32_t size = 0;
    EXPECT_EQ(Ops().readBlock(&store, "slot", found.data(), 33556, &size), bpNoErr);
    EXPECT_EQ(found, slot);
    EXPECT_EQ(Ops().writeString(&store, "a", "text"), bpNoErr);
    char text[8];
    EXPECT_EQ(Ops().readString(&store, "a", text, sizeof text), bpNoErr);
    EXPECT_STREQ(text, "text");
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, EmptyFileIsANewStore)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    ASSERT_TRUE(WriteWhole(File(), ""));
    store = Open();
    EXPECT_EQ(Ops().writeNumber(&store, "x", 1), bpNoErr);
    Ops().close(&store);
    EXPECT_EQ(log_, "");
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, LogsOfADamagedFileDoNotStayBesideTheNewOne)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    const std::string damage(5000, 'g');
    ASSERT_TRUE(WriteWhole(File(), damage));
    ASSERT_TRUE(WriteWhole(File() + "-journal", "no journal"));
    ASSERT_TRUE(WriteWhole(File() + "-wal", "log of the damaged file"));
    ExpectReplaced(1, damage);
    EXPECT_EQ(OtherFiles(), (std::vector<std::string>{"Settings.db.damaged-1"}));
}

TEST_F(BPKeyedStoreOnLinux, WriteThatWasCutOffIsUndone)
{
    FillStore();
    const std::string before = ReadWhole(File());
    // A small cache makes the pages go to the file before the transaction ends.
    Child writer([this] {
        Sql("PRAGMA cache_size = 1; BEGIN; UPDATE value SET content = 'half done'; SELECT zeroblob(1) FROM value "
            "WHERE (SELECT count(*) FROM value a, value b, value c, value d) < 0");
        return 0;
    });
    for (int wait = 0; wait < 2000 && ReadWhole(File()) == before; ++wait) usleep(5000);
    EXPECT_NE(ReadWhole(File()), before);
    writer.Kill();
    ASSERT_EQ(writer.Wait(), 128 + 9);
    EXPECT_TRUE(Exists(File() + "-journal"));
    BPKeyedStore store = Open();
    for (uint32_t index = 0; index < 300; ++index) {
        char text[200] = "";
        EXPECT_EQ(Ops().readString(&store, ("Value " + std::to_string(index)).c_str(), text, sizeof text), bpNoErr);
        EXPECT_EQ(std::string(text), std::string(100, 'v'));
    }
    Ops().close(&store);
    EXPECT_EQ(log_, "");
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, OfManyProcessesOnlyOneReplacesADamagedFile)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    for (int round = 1; round <= 5; ++round) {
        ASSERT_TRUE(WriteWhole(File(), "damage " + std::to_string(round)));
        Gate go;
        const auto open = [&](uint32_t value) {
            BPKeyedStore mine;
            if (!go.Wait()) return 1;
            if (Ops().open("Settings", &mine) != bpNoErr) return 2;
            const BPStatus err = Ops().writeNumber(&mine, std::to_string(value).c_str(), value);
            Ops().close(&mine);
            return err == bpNoErr ? 0 : 3;
        };
        Child first([&] { return open(1); }), second([&] { return open(2); }), third([&] { return open(3); });
        for (int child = 0; child < 3; ++child) go.Open();
        EXPECT_EQ(first.Wait(), 0);
        EXPECT_EQ(second.Wait(), 0);
        EXPECT_EQ(third.Wait(), 0);
        store = Open();
        for (uint32_t value = 1; value <= 3; ++value) {
            uint32_t found = 0;
            EXPECT_EQ(Ops().readNumber(&store, std::to_string(value).c_str(), &found), bpNoErr) << value;
        }
        Ops().close(&store);
        EXPECT_EQ(OtherFiles().size(), static_cast<size_t>(round));
    }
}

TEST_F(BPKeyedStoreOnLinux, ForeignContentIsNotBelieved)
{
    BPKeyedStore store = Open();
    ASSERT_TRUE(Sql("INSERT INTO value VALUES ('a', 1, 'text'), ('b', 1, -1), ('c', 1, 4294967296), ('d', 1, 1.5),"
                    "('e', 2, 5), ('f', 3, 'text'), ('g', 1, 5), ('h', 9, 5), ('i', 'kind', x'00'),"
                    "('j', 2, CAST(x'6100620063' AS TEXT))"));
    uint32_t value = 77, size = 77;
    char text[8] = "before";
    for (const char* name : {"a", "b", "c", "d", "h", "i"}) {
        EXPECT_EQ(Ops().readNumber(&store, name, &value), bpNotFoundErr) << name;
    }
    EXPECT_EQ(Ops().readString(&store, "e", text, sizeof text), bpNotFoundErr);
    EXPECT_EQ(Ops().readBlock(&store, "f", text, sizeof text, &size), bpNotFoundErr);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(size, 77u);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(Ops().readNumber(&store, "g", &value), bpNoErr);
    EXPECT_EQ(Ops().readString(&store, "j", text, sizeof text), bpNoErr);
    EXPECT_STREQ(text, "a");
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, TriggersOfAForeignFileDoNotRun)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    ASSERT_TRUE(Sql("CREATE TRIGGER t AFTER INSERT ON value BEGIN DELETE FROM value; END"));
    store = Open();
    EXPECT_EQ(Ops().writeNumber(&store, "x", 1), bpNoErr);
    uint32_t value = 0;
    EXPECT_EQ(Ops().readNumber(&store, "x", &value), bpNoErr);
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, StoreThatIsHeldTooLongIsBusyAndDoesNotHang)
{
    BPKeyedStore store = Open();
    ASSERT_EQ(Ops().writeNumber(&store, "x", 1), bpNoErr);
    Gate held, done;
    Child holder([&] {
        sqlite3* database = nullptr;
        if (sqlite3_open(File().c_str(), &database) != SQLITE_OK) return 1;
        if (sqlite3_exec(database, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK) return 2;
        held.Open();
        done.Wait();
        sqlite3_close(database);
        return 0;
    });
    ASSERT_TRUE(held.Wait());
    uint32_t value = 77;
    const uint64_t begin = platform_.clock.monotonicMs();
    EXPECT_EQ(Ops().readNumber(&store, "x", &value), bpFileBusyErr);
    const uint64_t waited = platform_.clock.monotonicMs() - begin;
    EXPECT_GE(waited, 1500u);
    EXPECT_LE(waited, 10000u);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(Ops().begin(&store), bpFileBusyErr);
    done.Open();
    EXPECT_EQ(holder.Wait(), 0);
    EXPECT_EQ(Ops().readNumber(&store, "x", &value), bpNoErr);
    EXPECT_EQ(Ops().begin(&store), bpNoErr);
    EXPECT_EQ(Ops().commit(&store), bpNoErr);
    Ops().close(&store);
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, OpeningThatIsHeldTooLongIsBusy)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    const int lock = open((File() + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    EXPECT_EQ(Ops().open("Settings", &store), bpFileBusyErr);
    EXPECT_EQ(store.handle, 0u);
    close(lock);
    EXPECT_EQ(Ops().open("Settings", &store), bpNoErr);
    Ops().close(&store);
}

TEST_F(BPKeyedStoreOnLinux, StoreThatCannotBeMadeIsTold)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    ASSERT_EQ(mkdir(Path("config/ochrine/folder.db").c_str(), 0700), 0);
    EXPECT_EQ(Ops().open("folder", &store), bpPermissionErr);
    EXPECT_EQ(store.handle, 0u);
    setenv("XDG_CONFIG_HOME", "/proc/none", 1);
    EXPECT_EQ(Ops().open("Settings", &store), bpFileNotFoundErr);
}

TEST_F(BPKeyedStoreOnLinux, ReadOnlyStoreReadsAndRefusesWrites)
{
    BPKeyedStore store = Open();
    ASSERT_EQ(Ops().writeNumber(&store, "x", 5), bpNoErr);
    Ops().close(&store);
    ASSERT_EQ(chmod(File().c_str(), 0400), 0);
    EXPECT_EQ(RunInChild([this] {
                  if (!ObeyFileModes()) return 1;
                  BPKeyedStore mine;
                  if (Ops().open("Settings", &mine) != bpNoErr) return 2;
                  uint32_t value = 0;
                  if (Ops().readNumber(&mine, "x", &value) != bpNoErr || value != 5) return 3;
                  if (Ops().writeNumber(&mine, "x", 6) != bpPermissionErr) return 4;
                  if (Ops().readNumber(&mine, "x", &value) != bpNoErr || value != 5) return 5;
                  Ops().close(&mine);
                  return 0;
              }),
              0);
    EXPECT_TRUE(OtherFiles().empty());
}

TEST_F(BPKeyedStoreOnLinux, DescriptorsDoNotLeak)
{
    BPKeyedStore store = Open();
    Ops().close(&store);
    const size_t before = CountDescriptors();
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(WriteWhole(File(), "damage"));
        store = Open();
        Ops().close(&store);
    }
    EXPECT_EQ(CountDescriptors(), before);
}
