#include "core/start_up.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
#include "os/file_io.h"
#include "os/files.h"
#include "os/paths.h"
#include "audit/trail_queue.h"
#include "audit/trail_store.h"
#include "xml/xml.h"

namespace velmora::core {

StartUpFiles PrepareSharedObjects() {
  auto& context = ThreadContext();
  const std::string base = os::WithSlash(os::RuntimeFolder()) + layout::kLibraryTitle;
  StartUpFiles files{base + std::string(layout::kLogExtension), base + std::string(layout::kTraceExtension),
                     base + std::string(layout::kIniExtension)};
  context.MessageLog.FileName = files.log;
  context.MessageLog.Title = errors::Text("log.title.messages");
  context.MessageLog.Flags = lfgToFile | lfgToDebug;
  context.TraceLog.FileName = files.trace;
  context.TraceLog.Title = errors::Text("log.title.trace");
  context.TraceLog.Flags = 0;
  context.Errors.ResetErrorsCollection();
  context.Config.IniFile = files.ini;
  return files;
}

void ApplyLoadedConfiguration() {
  auto& context = ThreadContext();
  context.MessageLog.Flags = context.Config.GenerarLog == 1 ? (lfgToFile | lfgToDebug) : 0;
  context.TraceLog.Flags = context.Config.GenerarTrace == 1 ? lfgToFile : 0;
  context.Auditor().Enable(context.Config.Auditar);
  context.Auditor().DiaryStore(context.Config.ArchivoDiario != 0);
}

namespace {

// Every temporary file is written and renamed within one call; a minute is far beyond it.
constexpr std::time_t kLongestWrite = 60;
constexpr const char* kSweep = "CFileAdmin.SweepInterruptedWrites";

// In the runtime folder itself only temporary names of our own go: the operator keeps hidden
// copies there, and a leftover of an older version costs a stray file, never somebody's copy.
void SweepFolder(const std::string& folder, bool answers, bool operators = false) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    const std::string path = folder + name;
    // Each leftover on its own: one that cannot go is recorded and the sweep goes on.
    Recorded(kSweep, [&] {
      if (const auto trail = layout::TrailOfJournal(name)) {
        audit::RecoverTrail(folder + *trail);
        return;
      }
      if (const auto trail = audit::TrailOfQueuedChange(path)) {
        audit::RecoverTrail(*trail);
        return;
      }
      if (!layout::IsTemporaryName(name) || (operators && !layout::IsOwnTemporaryName(name))) return;
      const auto st = os::LinkStatusOf(path);
      if (!st || !st->regular || std::time(nullptr) - st->modified.tv_sec < kLongestWrite) return;
      xml::Document answer;
      if (answers && answer.Load(path)) {
        const std::string target = CFileAdmin().GetDelayedPath() + layout::TargetOfTemporary(name);
        os::CopyFileTo(path, target, kSweep);
        LogLine(std::string(kSweep) + ": " + errors::Text("log.answer_recovered", {target}));
      }
      os::DeleteFile(path, kSweep);
    });
  }
}

// A till deletes the folder of an executor's failure hand-over when its dispensation ends; one
// a day old is of a till that was killed while it waited.
constexpr auto kFailureFolderLife = std::chrono::hours(24);

void SweepFailureFolders(const std::string& received) {
  std::error_code ec;
  const auto oldest = std::filesystem::file_time_type::clock::now() - kFailureFolderLife;
  for (const auto& entry : std::filesystem::directory_iterator(received, ec)) {
    std::error_code ignored;
    if (layout::IsFailureFolderName(entry.path().filename().string()) && entry.is_directory(ignored) &&
        !entry.is_symlink(ignored) && entry.last_write_time(ignored) < oldest)
      std::filesystem::remove_all(entry.path(), ignored);
  }
}

}  // namespace

void SweepInterruptedWrites() {
  CFileAdmin files;
  SweepFolder(files.GetDllPath(), false, true);
  SweepFolder(files.GetSendedPath(), false);
  SweepFolder(files.GetReceivedPath(), true);
  SweepFailureFolders(files.GetReceivedPath());
  SweepFolder(files.GetDelayedPath(), false);
  SweepFolder(files.GetAuditorPath(), false);
  SweepFolder(audit::TrailQueueFolder(files.GetAuditorPath()), false);
}

}  // namespace velmora::core
