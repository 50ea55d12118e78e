#include "ini/profile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "os/files.h"
#include "audit/trail_store.h"
#include "support/runtime_folder.h"
#include "velmora/error.h"

namespace velmora::ini {
namespace {

using velmora::testing::RuntimeFolder;

struct ReadCase {
  const char* file;
  const char* section;
  const char* key;
  const char* expected;
};

// Windows' reading rules, as they were observed on the real profile functions.
TEST(ProfileRead, FollowsWindowsMatchingRules) {
  const ReadCase cases[] = {
      {"[SectionName]\r\nTestKey=TestValue\r\n", "sectionname", "TESTKEY", "TestValue"},
      {"[SectionName]\r\nTestKey=TestValue\r\n", " SectionName ", "TestKey", "TestValue"},
      {"[SectionName]\r\nTestKey=TestValue\r\n", "\tSectionName", "TestKey", "D"},
      {"[s]\r\n  TestKey \t=  \tTestValue\t \r\n", "s", "TestKey", "TestValue"},
      {"  [ x ]\r\nk=v\r\n", "x", "k", "v"},
      {"[sec]whoops]\r\nk=v\r\n", "sec", "k", "v"},
      {"[SectionName   \r\nk=v\r\n", "SectionName", "k", "v"},
      {"k=v\r\n[s]\r\n", "", "k", "D"},
      {"[]\r\nk=v\r\n", "", "k", "v"},
      {"[s]\r\n[s]\r\nk=v\r\n", "s", "k", "D"},
      {"[s]\r\nk=A\r\nk=B\r\n", "s", "k", "A"},
      {"[s]\r\n;k=v\r\n", "s", "k", "D"},
      {"[s]\r\nk=diet ;x\r\n", "s", "k", "diet ;x"},
      {"[s]\r\n#k=v\r\n", "s", "#k", "v"},
      {"[s]\r\nk=\r\n", "s", "k", ""},
      {"[s]\r\nk=v\r\n", "s", "", "D"},
      {"[s]\r\nk=  \"  v  \"  \r\n", "s", "k", "  v  "},
      {"[s]\r\nk='v'\r\n", "s", "k", "v"},
      {"[s]\r\nk=\"v'\r\n", "s", "k", "\"v'"},
      {"[s]\rk=v\r", "s", "k", "v"},
      {"[s]\nk=v\n", "s", "k", "v"},
      {"[s]\r\nname3\r\n", "s", "name3", "D"},
      {"\xEF\xBB\xBF[s]\r\nk=v\r\n", "s", "k", "v"},
      {"[Dispensación]\r\nAÑO=v\r\n", "DISPENSACIÓN", "año", "v"},
      {"[Dispensaci\xF3n]\r\nk=v\r\n", "DISPENSACIÓN", "K", "v"},
      {"[Ÿ]\r\nk=v\r\n", "ÿ", "k", "v"},
      {"[RespuestaDefecto]\r\n  TextoAviso  =  Dispensaci\xF3n pendiente \t\r\n", "respuestadefecto", "textoaviso",
       "Dispensación pendiente"},
  };
  RuntimeFolder folder("");
  for (const auto& c : cases) {
    folder.Write("t.ini", c.file);
    EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), c.section, c.key, "D"), c.expected)
        << "file: " << c.file << " section: " << c.section << " key: " << c.key;
  }
}

TEST(ProfileRead, DefaultLosesTrailingBlanksAndMissingFileGivesDefault) {
  RuntimeFolder folder("");
  EXPECT_EQ(ReadProfileString(folder.Path("none.ini"), "s", "k", "  d  "), "  d");
  EXPECT_EQ(ReadProfileString(folder.Path("none.ini"), "s", "k", "\td\t"), "\td\t");
}

TEST(ProfileRead, BufferCutsLongValuesAndNeverSplitsACharacter) {
  RuntimeFolder folder("");
  folder.Write("t.ini", "[s]\r\nk=" + std::string(300, 'x') + "\r\nn=" + std::string(253, 'a') + "ñb\r\n");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k"), std::string(254, 'x'));
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "n"), std::string(253, 'a') + "ñ");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k", {}, 5), "xxxx");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k", {}, 0), "");
}

struct WriteCase {
  const char* before;
  const char* section;
  const char* key;
  const char* value;  // nullptr deletes
  const char* after;
};

TEST(ProfileWrite, PlacesAndReplacesLikeWindows) {
  const WriteCase cases[] = {
      {"", "App", "key", "string", "[App]\r\nkey=string\r\n"},
      {"[App1]\r\nk=1\r\n", "App3", "k5", "s", "[App1]\r\nk=1\r\n[App3]\r\nk5=s\r\n"},
      {"Data", "section1", "key1", "string1", "Data\r\n[section1]\r\nkey1=string1\r\n"},
      {"[s]\r\nz=\r\n;y=\r\n", "s", "a", "", "[s]\r\nz=\r\na=\r\n;y=\r\n"},
      {"[a]\r\nk=1\r\n\r\n[b]\r\n", "a", "n", "2", "[a]\r\nk=1\r\nn=2\r\n\r\n[b]\r\n"},
      {"[SectionName]\r\nTestKey=TestValue", "SECTIONNAME", "TESTKEY", "X", "[SectionName]\r\nTestKey=X\r\n"},
      {"[s]\r\nk=v\r\n", " s ", " k ", "  v  ", "[s]\r\nk=  v  \r\n"},
      {";c0\r\n[s]\r\n;c1\r\nk=1\r\n[t]\r\nk=2\r\n", "t", "k", "3", ";c0\r\n[s]\r\n;c1\r\nk=1\r\n[t]\r\nk=3\r\n"},
      {"[App3]\r\nkey5=s\r\n", "App3", "key5", nullptr, "[App3]\r\n"},
      {"[App3]\r\nkey5=s\r\n", "App3", "other", nullptr, "[App3]\r\nkey5=s\r\n"},
      {"junk\x01\r\n[s]\nk=1\n", "s", "k", "2", "junk\x01\r\n[s]\nk=2\r\n"},
      {"\xEF\xBB\xBF[s]\r\nk=1\r\n", "s", "n", "2", "\xEF\xBB\xBF[s]\r\nk=1\r\nn=2\r\n"},
      {"[Año]\r\nk=1\r\n[b]\r\n", "AÑO", "K", "22", "[Año]\r\nk=22\r\n[b]\r\n"},
      {"[s]\r\nk=1\r\n[S]\r\nk=2\r\n[t]\r\n", "s", "k", "3", "[s]\r\nk=3\r\n[S]\r\nk=2\r\n[t]\r\n"},
      {"[a]\rk=1\r[b]\rk=2", "b", "k", "33", "[a]\rk=1\r[b]\rk=33\r\n"},
      {"[a]\r\nk=1", "b", "k", "", "[a]\r\nk=1\r\n[b]\r\nk=\r\n"},
      {"[s]\r\nt=Dispensaci\xF3n\r\nk=1\r\n", "s", "k", "2", "[s]\r\nt=Dispensaci\xF3n\r\nk=2\r\n"},
  };
  RuntimeFolder folder("");
  for (const auto& c : cases) {
    folder.Write("t.ini", c.before);
    const std::optional<std::string> value = c.value ? std::optional<std::string>(c.value) : std::nullopt;
    EXPECT_TRUE(WriteProfileString(folder.Path("t.ini"), c.section, c.key, value));
    EXPECT_EQ(folder.Read("t.ini"), c.after) << "before: " << c.before;
    if (!c.value) continue;
    // The audit trail's in-place writer gives the same bytes, its index made before or stale.
    for (const std::string more : {"", "\r\n[x]\r\nk=1\r\n[y]\r\nk=1"}) {
      folder.Write("t.log", c.before);
      ASSERT_TRUE(audit::WriteTrailKeys(folder.Path("t.log"), "zz", {{"k", "1"}}));
      folder.Write("t.log", c.before + more);
      folder.Write("t.ini", c.before + more);
      ASSERT_TRUE(audit::WriteTrailKeys(folder.Path("t.log"), c.section, {{c.key, c.value}}));
      ASSERT_TRUE(WriteProfileString(folder.Path("t.ini"), c.section, c.key, c.value));
      EXPECT_EQ(folder.Read("t.log"), folder.Read("t.ini")) << "before: " << c.before << more;
    }
  }
}

// A shared ini is written through its link; a FIFO never holds anyone waiting for its other end.
TEST(ProfileWrite, SymlinkIsWrittenThroughAndAFifoRefused) {
  RuntimeFolder folder("");
  folder.Write("shared.ini", "[s]\r\nk=1\r\n");
  ASSERT_EQ(symlink(folder.Path("shared.ini").c_str(), folder.Path("t.ini").c_str()), 0);
  ASSERT_TRUE(WriteProfileString(folder.Path("t.ini"), "s", "k", "2"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("t.ini")));
  EXPECT_EQ(folder.Read("shared.ini"), "[s]\r\nk=2\r\n");
  ASSERT_EQ(mkfifo(folder.Path("f.ini").c_str(), 0600), 0);
  EXPECT_EQ(ReadProfileString(folder.Path("f.ini"), "s", "k", "D"), "D");
  EXPECT_FALSE(WriteProfileString(folder.Path("f.ini"), "s", "k", "1"));
  EXPECT_THROW(os::AppendToFile(folder.Path("f.ini"), {}, "x", "t"), Error);
}

// A lock another process holds costs a bounded wait, and only once while it lasts. The trail's
// writes are kept meanwhile and land, in the order they were made and before any later write,
// with whoever next holds the lock, reader or writer.
TEST(ProfileWrite, FolderLockHeldElsewhereFailsWithinItsDeadline) {
  for (const std::string next : {"read", "write"}) {
    SCOPED_TRACE(next);
    RuntimeFolder folder("");
    const std::string trail = folder.Path("a.log");
    ASSERT_TRUE(audit::WriteTrailKeys(trail, "s", {{"k", "0"}, {"old", "kept"}}));
    std::filesystem::create_directory(folder.Path(".queue"));
    folder.Write(".queue/a.log-00000000000000000000-1-0", "VLMTQUE1\x05");  // not a whole change: never applied
    auto holder = velmora::testing::HoldFolderLocks({folder.Root()});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(WriteProfileString(folder.Path("velmora.ini"), "MensajeSOAP", "Enviados", "9"));
    EXPECT_EQ(errno, EWOULDBLOCK);
    const auto first = std::chrono::steady_clock::now() - start;
    std::optional<std::string> record;
    EXPECT_FALSE(audit::ReadTrailSection(trail, "s", record));
    for (const char* value : {"1", "2", "3"}) EXPECT_TRUE(audit::WriteTrailKeys(trail, "s", {{"k", value}}));
    EXPECT_TRUE(audit::WriteTrailKeys(trail, "t", {{"k", "x"}}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, first + os::kLockWait);
    EXPECT_EQ(folder.Read("a.log"), "[s]\r\nk=0\r\nold=kept\r\n");
    holder.reset();
    if (next == "read") {
      ASSERT_TRUE(audit::ReadTrailSection(trail, "t", record));
      EXPECT_EQ(record, "[t]\r\nk=x\r\n");
    } else {
      EXPECT_TRUE(audit::WriteTrailKeys(trail, "t", {{"k", "y"}}));
    }
    EXPECT_EQ(folder.Read("a.log"),
              "[s]\r\nk=3\r\nold=kept\r\n[t]\r\nk=" + std::string(next == "write" ? "y" : "x") + "\r\n");
    std::vector<std::string> left;
    for (const auto& e : std::filesystem::directory_iterator(folder.Path(".queue")))
      left.push_back(e.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>{"a.log-00000000000000000000-1-0"});
  }
}

TEST(ProfileWrite, FailsWithoutTheFolderAndLeavesNoTemporaryFile) {
  RuntimeFolder folder("");
  EXPECT_FALSE(WriteProfileString(folder.Path("missing/t.ini"), "s", "k", "v"));
  ASSERT_TRUE(WriteProfileString(folder.Path("t.ini"), "s", "k", "v"));
  int entries = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder.Root())) ++entries;
  EXPECT_EQ(entries, 5);  // the four working folders and t.ini
}

TEST(ProfileUpdate, ExceptionFromTheUpdateWritesNothing) {
  RuntimeFolder folder("");
  folder.Write("t.ini", "[s]\r\nk=1\r\n");
  const auto fails = [](const std::optional<std::string>&) -> std::optional<std::string> { throw std::runtime_error("no"); };
  EXPECT_THROW(UpdateProfileString(folder.Path("t.ini"), "s", "k", fails), std::runtime_error);
  EXPECT_EQ(folder.Read("t.ini"), "[s]\r\nk=1\r\n");
  EXPECT_TRUE(UpdateProfileString(folder.Path("t.ini"), "s", "k",
                                  [](const std::optional<std::string>& v) { return *v + "0"; }));
  EXPECT_EQ(folder.Read("t.ini"), "[s]\r\nk=10\r\n");
}

TEST(ProfileWrite, SeveralKeysLandTogether) {
  RuntimeFolder folder("");
  ASSERT_TRUE(audit::WriteTrailKeys(folder.Path("a.log"), "ID1", {{"A", "1"}, {"B", ""}, {"A", "2"}}));
  EXPECT_EQ(folder.Read("a.log"), "[ID1]\r\nA=2\r\nB=\r\n");
}

}  // namespace
}  // namespace velmora::ini
