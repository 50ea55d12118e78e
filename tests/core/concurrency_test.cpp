#include <spawn.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

#include "core/start_up.h"
#include "core_test_support.h"
#include "platform/files.h"
#include "platform/profile.h"
#include "platform/profile_trail.h"

extern char** environ;

namespace velmora {
namespace {

using testing::CoreFixture;

pid_t StartWorker(const std::vector<std::string>& args) {
  std::vector<char*> argv{const_cast<char*>(VELMORA_CORE_WORKER)};
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  EXPECT_EQ(posix_spawn(&pid, VELMORA_CORE_WORKER, nullptr, nullptr, argv.data(), environ), 0);
  return pid;
}

// Waits for the worker with a bound; a hung worker is killed and reported.
int Finish(pid_t pid, std::chrono::seconds limit = std::chrono::seconds(120)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  int status = 0;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Concurrency, TwoProcessesCountingLoseNothing) {
  CoreFixture f;
  const pid_t a = StartWorker({"counter", "500"});
  const pid_t b = StartWorker({"counter", "500"});
  // Meanwhile every read sees a whole file with the counter in it.
  int reads = 0;
  while (reads < 200) {
    const std::string value = platform::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados", "MISSING");
    ASSERT_NE(value, "MISSING");
    ++reads;
  }
  EXPECT_EQ(Finish(a), 0);
  EXPECT_EQ(Finish(b), 0);
  EXPECT_EQ(platform::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados"), "1000");
  // The rest of the ini came through the thousand rewrites untouched.
  EXPECT_EQ(platform::ReadProfileString(f.folder.Path("velmora.ini"), "RespuestaDefecto", "TextoAviso"),
            "Respuesta interna");
}

// A record of the trail as the library writes it, at one of its three stages, its date as "*".
std::string Record(const std::string& id, int stage) {
  return "[" + id + "]\r\nFECHA_ENVIO=*\r\nPETICION_GENERADA=" + (stage > 0 ? "Si" : "No") +
         "\r\nMENSAJE_ENVIADO=No\r\nMENSAJE_RECIBIDO=No\r\nRESPUESTA_GENERADA=" + (stage > 1 ? "srv" : "") +
         "\r\nTEXTO_RESPUESTA=\r\n";
}

// The stage of every record of `ids` found in the trail; every record must be whole.
std::vector<int> Stages(const std::string& trail, const std::vector<std::string>& ids) {
  std::vector<int> stages;
  for (const auto& id : ids) {
    std::optional<std::string> record;
    EXPECT_TRUE(platform::ReadTrailSection(trail, id, record)) << errno;
    int stage = -1;
    if (record) record->replace(record->find('=') + 1, record->find('\r', record->find('=')) - record->find('=') - 1, "*");
    for (int s = 0; s < 3 && record; ++s)
      if (*record == Record(id, s)) stage = s;
    EXPECT_TRUE(!record || stage >= 0) << *record;
    stages.push_back(record ? stage : -1);
  }
  return stages;
}

TEST(Concurrency, TwoProcessesAuditingKeepEveryRecordWhole) {
  for (const int earlier : {0, 100000}) {
    CoreFixture f;
    std::string trail;
    for (int i = 0; i < earlier; ++i) trail += Record("E" + std::to_string(i), 2);
    f.folder.Write("Auditoria/audit.log", trail);
    const pid_t a = StartWorker({"audit", "100", "A"});
    const pid_t b = StartWorker({"audit", "100", "B"});
    std::vector<std::string> ids;
    for (int i = 0; i < 100; ++i) ids.insert(ids.end(), {"A" + std::to_string(i), "B" + std::to_string(i)});
    for (int reads = 0; reads < 50; ++reads) Stages(f.folder.Path("Auditoria/audit.log"), ids);
    EXPECT_EQ(Finish(a), 0);
    EXPECT_EQ(Finish(b), 0);
    EXPECT_EQ(Stages(f.folder.Path("Auditoria/audit.log"), ids), std::vector<int>(ids.size(), 2));
    EXPECT_EQ(f.folder.Read("Auditoria/audit.log").substr(0, trail.size()), trail) << earlier;
  }
}

// A writer killed anywhere in an audit write or a counter update leaves every earlier record
// and key as it was and its own whole or absent; the next start-up leaves no temporary file.
TEST(Concurrency, KilledWriterLosesOnlyWhatItWasWriting) {
  CoreFixture f;
  const std::string trail = f.folder.Path("Auditoria/audit.log");
  std::vector<std::string> ids;
  std::vector<int> done;
  int32_t counted = 0;
  for (int round = 0; round < 40; ++round) {
    const std::string prefix = "K" + std::to_string(round) + "_";
    auto sizeNow = [&] {
      std::error_code ec;
      const auto n = std::filesystem::file_size(trail, ec);
      return ec ? 0 : n;
    };
    const auto size = sizeNow();
    const pid_t worker = StartWorker({"both", "1000000", prefix});
    // Once it writes, at a different instant of its writes every round.
    ASSERT_TRUE(testing::WaitFor([&] { return sizeNow() > size; }, std::chrono::seconds(20)));
    const auto at = std::chrono::steady_clock::now() + std::chrono::microseconds(137 * round % 4000);
    while (std::chrono::steady_clock::now() < at) {
    }
    kill(worker, SIGKILL);
    EXPECT_EQ(Finish(worker), -1);
    // Its records run from 0 to the first one missing.
    for (int i = 0; ids.push_back(prefix + std::to_string(i)), Stages(trail, {ids.back()})[0] >= 0; ++i) {
    }
    const std::vector<int> stages = Stages(trail, ids);
    for (size_t i = 0; i < done.size(); ++i) EXPECT_EQ(stages[i], done[i]) << ids[i];
    done = stages;
    const int32_t now = std::stoi(platform::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados"));
    EXPECT_GE(now, counted);
    counted = now;
    EXPECT_EQ(platform::ReadProfileString(f.folder.Path("velmora.ini"), "RespuestaDefecto", "TextoAviso"),
              "Respuesta interna");
  }
  // Whatever the kills left is older than any write by the next start-up.
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5);
  for (const auto& e : std::filesystem::recursive_directory_iterator(f.folder.Root()))
    std::filesystem::last_write_time(e.path(), old);
  core::SweepInterruptedWrites();
  for (const auto& e : std::filesystem::recursive_directory_iterator(f.folder.Root())) {
    const std::string name = e.path().filename().string();
    EXPECT_TRUE(!platform::IsTemporaryName(name) && name.find(".journal") == std::string::npos) << name;
  }
  EXPECT_EQ(Stages(trail, ids), done);
}

}  // namespace
}  // namespace velmora
