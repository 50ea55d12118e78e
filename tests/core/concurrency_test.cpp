#include <spawn.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "core_test_support.h"
#include "platform/profile.h"

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

TEST(Concurrency, TwoProcessesAuditingKeepEveryRecordWhole) {
  CoreFixture f;
  const pid_t a = StartWorker({"audit", "100", "A"});
  const pid_t b = StartWorker({"audit", "100", "B"});
  EXPECT_EQ(Finish(a), 0);
  EXPECT_EQ(Finish(b), 0);
  const std::string file = f.folder.Path("Auditoria/audit.log");
  for (const char* prefix : {"A", "B"}) {
    for (int i = 0; i < 100; ++i) {
      const std::string id = prefix + std::to_string(i);
      EXPECT_EQ(platform::ReadProfileString(file, id, "PETICION_GENERADA"), "Si") << id;
      EXPECT_EQ(platform::ReadProfileString(file, id, "MENSAJE_ENVIADO", "D"), "No") << id;
      EXPECT_EQ(platform::ReadProfileString(file, id, "RESPUESTA_GENERADA"), "srv") << id;
      EXPECT_EQ(platform::ReadProfileString(file, id, "TEXTO_RESPUESTA", "D"), "") << id;
    }
  }
}

}  // namespace
}  // namespace velmora
