#pragma once

// The runtime folder's layout: the name of every folder and file the library and executor.exe
// keep in it, hidden ones included, and the shape of the temporary names the file layer writes
// through. CFileAdmin builds its paths from these; code that needs a name CFileAdmin does not
// offer takes it from here, never as a literal of its own, so a name is decided in one place.
//
// The temporary-name format is made and recognised in os (files.h): the writer that renames a
// temporary into place lives there and os may not look up here. It is named here so that whoever
// reads the layout finds it.

#include <optional>
#include <string>
#include <string_view>

#include "os/files.h"
#include "os/paths.h"

namespace velmora::core::layout {

// Files of the runtime folder itself. The library's title names velmora.ini, .log, .txt, .xml
// and .pdf.
using os::kLibraryTitle;
inline constexpr std::string_view kIniExtension = ".ini";
inline constexpr std::string_view kLogExtension = ".log";
inline constexpr std::string_view kTraceExtension = ".txt";
inline constexpr std::string_view kRequestCopyExtension = ".xml";  // the last request, when asked to keep it
inline constexpr std::string_view kReceiptExtension = ".pdf";      // the batch receipt
inline constexpr const char* kExecutorProgram = "executor.exe";
inline constexpr const char* kDefaultResponseFile = "defrespo.xml";
inline constexpr const char* kDefaultResponseArchive = "defaultResp.xml";
inline constexpr const char* kInternalResponseFile = "internal.xml";

// The working folders, by the names they are made with (their paths end in "/").
inline constexpr const char* kSentFolder = "Enviados";        // requests in flight
inline constexpr const char* kReceivedFolder = "Recibidos";   // the service's answers
inline constexpr const char* kDelayedFolder = "Retrasados";   // answers that came too late
inline constexpr const char* kAuditFolder = "Auditoria";      // the audit trail
inline constexpr const char* kPendingFolder = "Pendientes";   // copies of requests a fallback answered

// A message file in Enviados, Recibidos, Retrasados or Pendientes: "<id>.xml"; a batch's id
// starts with "MD__".
inline constexpr std::string_view kMessageExtension = ".xml";
inline constexpr std::string_view kBatchPrefix = "MD__";
inline std::string MessageFileName(const std::string& id) { return id + std::string(kMessageExtension); }

// Hidden folders: the generated identifiers taken ("Enviados/.reservas/", one empty file per
// identifier) and the audit changes kept while another process held the lock
// ("Auditoria/.queue/").
inline constexpr const char* kReservationsFolder = ".reservas/";
inline constexpr const char* kTrailQueueFolder = ".queue/";

// An executor's failure hand-over, in Recibidos: the folder "." + id + ".fallo" that the till
// makes before it starts the executor and deletes when the dispensation ends, and in it the file
// "causa" an executor whose request failed writes ("(<number>) <text>", as its log line has it).
// An executor no till waits for (started by hand, or late) finds no folder and writes nothing.
// Hidden, and a folder: no reader of Recibidos takes it for an answer, and the till's watch of
// Recibidos is not woken by what is written in it.
inline constexpr std::string_view kFailureFolderEnd = ".fallo";
inline constexpr std::string_view kFailureFile = "causa";
inline std::string FailureFolderName(std::string_view id) { return "." + std::string(id) + std::string(kFailureFolderEnd); }
inline std::string FailureFileName(std::string_view id) { return FailureFolderName(id) + "/" + std::string(kFailureFile); }
inline bool IsFailureFolderName(std::string_view name) {
  return name.size() > 1 + kFailureFolderEnd.size() && name[0] == '.' && name.ends_with(kFailureFolderEnd);
}

// The audit trails: "audit.log", or one "yymmdd.log" a day. Beside each, hidden, its index
// ".<trail>.index" and its redo journal ".<trail>.journal".
inline constexpr std::string_view kSingleTrail = "audit.log";
inline constexpr std::string_view kDailyTrailExtension = ".log";
inline constexpr const char* kDailyTrailDate = "yymmdd";  // the date format of its name
inline bool IsDailyTrail(std::string_view name) {
  if (name.size() != 6 + kDailyTrailExtension.size() || name.substr(6) != kDailyTrailExtension) return false;
  for (const char c : name.substr(0, 6))
    if (c < '0' || c > '9') return false;
  return true;
}
inline constexpr std::string_view kTrailIndexSuffix = ".index";
inline constexpr std::string_view kTrailJournalSuffix = ".journal";
inline std::string HiddenCompanion(std::string_view trail, std::string_view suffix) {
  return "." + std::string(trail) + std::string(suffix);
}
// The trail a journal's name belongs to; nullopt for any other name.
inline std::optional<std::string> TrailOfJournal(std::string_view name) {
  if (name.size() <= kTrailJournalSuffix.size() + 1 || name[0] != '.' ||
      name.substr(name.size() - kTrailJournalSuffix.size()) != kTrailJournalSuffix)
    return std::nullopt;
  return std::string(name.substr(1, name.size() - kTrailJournalSuffix.size() - 1));
}

// Temporary names: "." + the target's name + "." + six letters or digits, beside the target.
// Only a name of the file layer's own (IsOwnTemporaryName) is ever swept from the runtime
// folder itself, where the operator keeps hidden copies of that shape.
using os::IsOwnTemporaryName;
using os::IsTemporaryName;
using os::TargetOfTemporary;

}  // namespace velmora::core::layout
