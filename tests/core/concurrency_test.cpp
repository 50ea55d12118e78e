#include <spawn.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

#include "core/start_up.h"
#include "support/context_fixture.h"
#include "os/files.h"
#include "ini/profile.h"
#include "audit/trail_store.h"
#include "audit/trail_queue.h"

extern char** environ;

namespace velmora {
namespace {

using testing::ContextFixture;
namespace fs = std::filesystem;

pid_t StartWorker(const std::vector<std::string>& args) {
  std::vector<char*> argv{const_cast<char*>(VELMORA_CORE_WORKER)};
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  EXPECT_EQ(posix_spawn(&pid, VELMORA_CORE_WORKER, nullptr, nullptr, argv.data(), environ), 0);
  return pid;
}

int Finish(pid_t pid) {
  int status = 0;
  if (!testing::WaitFor([&] { return waitpid(pid, &status, WNOHANG) != 0; }, std::chrono::seconds(120)))
    kill(pid, SIGKILL), waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Concurrency, TwoProcessesCountingLoseNothing) {
  ContextFixture f;
  const pid_t a = StartWorker({"counter", "500"});
  const pid_t b = StartWorker({"counter", "500"});
  // Meanwhile every read sees a whole file with the counter in it.
  for (int reads = 0; reads < 200; ++reads)
    ASSERT_NE(ini::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados", "-"), "-");
  EXPECT_EQ(Finish(a), 0);
  EXPECT_EQ(Finish(b), 0);
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados"), "1000");
  // The rest of the ini came through the thousand rewrites untouched.
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("velmora.ini"), "RespuestaDefecto", "TextoAviso"), "Respuesta interna");
}

// A record as the workers write it: 0 header, 1 request marked, 2 answer set; its date as "*".
std::string Record(const std::string& id, int stage) {
  return "[" + id + "]\r\nFECHA_ENVIO=*\r\nPETICION_GENERADA=" + (stage > 0 ? "Si" : "No") +
         "\r\nMENSAJE_ENVIADO=No\r\nMENSAJE_RECIBIDO=No\r\nRESPUESTA_GENERADA=" + (stage > 1 ? "srv" : "") +
         "\r\nTEXTO_RESPUESTA=\r\n";
}

// The stage of each record, -1 when missing; a record found must be whole. While writers run, a
// read may give up on the lock (a loaded machine), never read a torn record.
std::vector<int> Stages(const std::string& trail, const std::vector<std::string>& ids, bool writersRun = false) {
  std::vector<int> stages;
  for (const auto& id : ids) {
    std::optional<std::string> r;
    const bool read = audit::ReadTrailSection(trail, id, r);
    EXPECT_TRUE(read || (writersRun && errno == EWOULDBLOCK));
    if (r) r->replace(r->find('=') + 1, r->find('\r', r->find('=')) - r->find('=') - 1, "*");
    stages.push_back(!r ? -1 : *r == Record(id, 0) ? 0 : *r == Record(id, 1) ? 1 : *r == Record(id, 2) ? 2 : -2);
    EXPECT_NE(stages.back(), -2) << *r;
  }
  return stages;
}

TEST(Concurrency, TwoProcessesAuditingKeepEveryRecordWhole) {
  for (const int earlier : {0, 100000}) {
    ContextFixture f;
    const std::string file = f.folder.Path("Auditoria/audit.log");
    std::string trail;
    for (int i = 0; i < earlier; ++i) trail += Record("E" + std::to_string(i), 2);
    f.folder.Write("Auditoria/audit.log", trail);
    const pid_t a = StartWorker({"audit", "100", "A"}), b = StartWorker({"audit", "100", "B"});
    std::vector<std::string> ids;
    for (int i = 0; i < 100; ++i) ids.insert(ids.end(), {"A" + std::to_string(i), "B" + std::to_string(i)});
    for (int reads = 0; reads < 50; ++reads) Stages(file, ids, true);
    EXPECT_EQ(Finish(a), 0);
    EXPECT_EQ(Finish(b), 0);
    EXPECT_EQ(Stages(file, ids), std::vector<int>(ids.size(), 2));
    EXPECT_EQ(f.folder.Read("Auditoria/audit.log").substr(0, trail.size()), trail) << earlier;
  }
}

// A writer killed anywhere in an audit write or a counter update leaves every earlier record
// and key as it was and its own whole or absent; the next start-up leaves no temporary file.
TEST(Concurrency, KilledWriterLosesOnlyWhatItWasWriting) {
  ContextFixture f;
  const std::string trail = f.folder.Path("Auditoria/audit.log"), ini = f.folder.Path("velmora.ini");
  std::vector<std::string> ids;
  std::vector<int> done;
  for (int round = 0; round < 40; ++round) {
    const std::string prefix = "K" + std::to_string(round) + "_";
    const auto size = f.folder.Read("Auditoria/audit.log").size();
    const pid_t worker = StartWorker({"both", "1000000", prefix});
    // Once it writes, at a different instant of its writes every round.
    ASSERT_TRUE(testing::WaitFor([&] { return f.folder.Read("Auditoria/audit.log").size() > size; }, std::chrono::seconds(20)));
    for (const auto at = std::chrono::steady_clock::now() + std::chrono::microseconds(137 * round % 4000);
         std::chrono::steady_clock::now() < at;) {
    }
    kill(worker, SIGKILL);
    EXPECT_EQ(Finish(worker), -1);
    for (int i = 0; ids.push_back(prefix + std::to_string(i)), Stages(trail, {ids.back()})[0] >= 0; ++i) {
    }
    const std::vector<int> stages = Stages(trail, ids);
    EXPECT_TRUE(std::equal(done.begin(), done.end(), stages.begin()));
    done = stages;
    EXPECT_NE(ini::ReadProfileString(ini, "MensajeSOAP", "Enviados", "-"), "-");
    EXPECT_EQ(ini::ReadProfileString(ini, "RespuestaDefecto", "TextoAviso"), "Respuesta interna");
  }
  // Whatever the kills left is older than any write by the next start-up; an answer left whole
  // in a temporary file is kept as a late one, a part of one is not.
  const std::string answer = "<RespuestaPeticion><CodigoAviso>0000</CodigoAviso></RespuestaPeticion>";
  f.folder.Write("Recibidos/.ID1.xml.aB3dE5", answer);
  f.folder.Write("Recibidos/.ID2.xml.aB3dE6", answer.substr(0, 30));
  for (const char* hand : {"Recibidos/.ID4.fallo", "Recibidos/.ID5.fallo"}) fs::create_directory(f.folder.Path(hand));
  f.folder.Write("Recibidos/.ID4.fallo/causa", "(1) sin nadie que lo espere");
  for (const char* copy : {".velmora.ini.backup", ".velmora.ini.OLD001"})  // the operator's, not ours
    f.folder.Write(copy, "[Configuracion]\r\n");
  for (const auto& e : fs::recursive_directory_iterator(f.folder.Root()))
    fs::last_write_time(e.path(), fs::file_time_type::clock::now() - std::chrono::minutes(5));
  f.folder.Write("Recibidos/.ID3.xml.aB3dE7", answer);  // a write that may still be going on
  // A failure hand-over of a till killed while it waited; the other's till may be waiting yet.
  fs::last_write_time(f.folder.Path("Recibidos/.ID4.fallo"), fs::file_time_type::clock::now() - std::chrono::hours(48));
  ASSERT_TRUE(audit::QueueTrailChange(trail, "KEPT", {{"RESPUESTA_GENERADA", "int"}}));  // a lock wait ran out
  core::SweepInterruptedWrites();
  EXPECT_EQ(ini::ReadProfileString(trail, "KEPT", "RESPUESTA_GENERADA"), "int");
  EXPECT_EQ(f.folder.Read("Retrasados/ID1.xml"), answer);
  EXPECT_FALSE(fs::exists(f.folder.Path("Retrasados/ID2.xml")));
  EXPECT_FALSE(fs::exists(f.folder.Path("Recibidos/.ID4.fallo")));
  for (const char* kept : {"Recibidos/.ID3.xml.aB3dE7", "Recibidos/.ID5.fallo", ".velmora.ini.backup", ".velmora.ini.OLD001"})
    EXPECT_TRUE(fs::remove(f.folder.Path(kept))) << kept;
  for (const auto& e : fs::recursive_directory_iterator(f.folder.Root()))
    EXPECT_FALSE(os::IsTemporaryName(e.path().filename().string()) ||
                 e.path().string().find(".journal") != std::string::npos) << e.path();
  EXPECT_EQ(Stages(trail, ids), done);
}

}  // namespace
}  // namespace velmora
