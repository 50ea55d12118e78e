#pragma once

#include <string>

namespace velmora::core {

struct StartUpFiles {
  std::string log;    // <runtime folder>velmora.log
  std::string trace;  // <runtime folder>velmora.txt
  std::string ini;    // <runtime folder>velmora.ini
};

// What the interface and the executor both do before loading the ini: name the three files
// after the runtime folder and the library's title, point the shared logs at them with their
// titles and start-up flags (message log 3, trace 0), and empty the shared error list.
StartUpFiles PrepareSharedObjects();

// After a successful load: the logs' flags from GenerarLog and GenerarTrace, and the audit
// trail's Enable and DiaryStore from Auditar and ArchivoDiario.
void ApplyLoadedConfiguration();

// What interrupted writes left behind, once older than the longest write can last: temporary
// files are removed, except an answer found whole in Recibidos, which goes to Retrasados as a
// late answer would; an interrupted change of an audit file is finished from its journal.
void SweepInterruptedWrites();

}  // namespace velmora::core
