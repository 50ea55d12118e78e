#include "ini/profile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "os/files.h"
#include "ini/profile_write_cases.h"
#include "support/test_support.h"
#include "velmora/error.h"

namespace velmora::ini {
namespace {

using velmora::testing::RuntimeFolder;

// Windows' reading rules, as they were observed on the real profile functions.
TEST(ProfileRead, FollowsWindowsMatchingRules) {
  const struct { const char *file, *section, *key, *expected; } cases[] = {
      {"[SectionName]\r\nTestKey=TestValue\r\n", "sectionname", "TESTKEY", "TestValue"},
      {"[SectionName]\r\nTestKey=TestValue\r\n", " SectionName ", "TestKey", "TestValue"},
      {"[SectionName]\r\nTestKey=TestValue\r\n", "\tSectionName", "TestKey", "D"},
      {"[s]\r\n  TestKey \t=  \tTestValue\t \r\n", "s", "TestKey", "TestValue"},
      {"  [ x ]\r\nk=v\r\n", "x", "k", "v"}, {"[sec]whoops]\r\nk=v\r\n", "sec", "k", "v"},
      {"[SectionName   \r\nk=v\r\n", "SectionName", "k", "v"}, {"k=v\r\n[s]\r\n", "", "k", "D"},
      {"[]\r\nk=v\r\n", "", "k", "v"}, {"[s]\r\n[s]\r\nk=v\r\n", "s", "k", "D"},
      {"[s]\r\nk=A\r\nk=B\r\n", "s", "k", "A"}, {"[s]\r\n;k=v\r\n", "s", "k", "D"},
      {"[s]\r\nk=diet ;x\r\n", "s", "k", "diet ;x"}, {"[s]\r\n#k=v\r\n", "s", "#k", "v"},
      {"[s]\r\nk=\r\n", "s", "k", ""}, {"[s]\r\nk=v\r\n", "s", "", "D"},
      {"[s]\r\nk=  \"  v  \"  \r\n", "s", "k", "  v  "}, {"[s]\r\nk='v'\r\n", "s", "k", "v"},
      {"[s]\r\nk=\"v'\r\n", "s", "k", "\"v'"}, {"[s]\rk=v\r", "s", "k", "v"}, {"[s]\nk=v\n", "s", "k", "v"},
      {"[s]\r\nname3\r\n", "s", "name3", "D"}, {"\xEF\xBB\xBF[s]\r\nk=v\r\n", "s", "k", "v"},
      {"[Dispensación]\r\nAÑO=v\r\n", "DISPENSACIÓN", "año", "v"},
      {"[Dispensaci\xF3n]\r\nk=v\r\n", "DISPENSACIÓN", "K", "v"}, {"[Ÿ]\r\nk=v\r\n", "ÿ", "k", "v"},
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

TEST(ProfileRead, DefaultLosesTrailingBlanksAndTheBufferCutsWholeCharacters) {
  RuntimeFolder folder("");
  EXPECT_EQ(ReadProfileString(folder.Path("none.ini"), "s", "k", "  d  "), "  d");
  EXPECT_EQ(ReadProfileString(folder.Path("none.ini"), "s", "k", "\td\t"), "\td\t");
  // The buffer cuts long values and never splits a character.
  folder.Write("t.ini", "[s]\r\nk=" + std::string(300, 'x') + "\r\nn=" + std::string(253, 'a') + "ñb\r\n");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k"), std::string(254, 'x'));
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "n"), std::string(253, 'a') + "ñ");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k", {}, 5), "xxxx");
  EXPECT_EQ(ReadProfileString(folder.Path("t.ini"), "s", "k", {}, 0), "");
}

TEST(ProfileWrite, PlacesAndReplacesLikeWindows) {
  RuntimeFolder folder("");
  for (const auto& c : kWriteCases) {
    folder.Write("t.ini", c.before);
    const std::optional<std::string> value = c.value ? std::optional<std::string>(c.value) : std::nullopt;
    EXPECT_TRUE(WriteProfileString(folder.Path("t.ini"), c.section, c.key, value));
    EXPECT_EQ(folder.Read("t.ini"), c.after) << "before: " << c.before;
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

TEST(ProfileWrite, FailsWithoutTheFolderAndLeavesNoTemporaryFile) {
  RuntimeFolder folder("");
  EXPECT_FALSE(WriteProfileString(folder.Path("missing/t.ini"), "s", "k", "v"));
  ASSERT_TRUE(WriteProfileString(folder.Path("t.ini"), "s", "k", "v"));
  // The four working folders and t.ini.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Root()), {}), 5);
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

}  // namespace
}  // namespace velmora::ini
