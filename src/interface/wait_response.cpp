#include "velmora/interface.h"

#include <cmath>

#include "core/context.h"
#include "errors/catalogue.h"
#include "os/directory_watch.h"
#include "os/attributes.h"
#include "os/files.h"

namespace velmora {

namespace {
// How long one pass of the wait may block before the host's idle callback runs again.
constexpr std::chrono::milliseconds kPass{25};
}  // namespace

// Polls the received folder on the old schedule: whole seconds since the start, a look on every
// pass of a second that is a multiple of the interval, a file taken only once it carries exactly
// the hidden mark, and one last look at the limit that accepts any file present.
bool CInterface::WaitResponse(const std::string& strIdPrescripcion) {
  constexpr const char* kMethod = "CInterface.WaitResponse";
  core::TraceScope trace(kMethod, strIdPrescripcion);
  bool arrived = false;
  try {
    auto& config = core::ThreadContext().Config;
    const int16_t interval = config.IntervaloComprobacion();
    const int16_t limit = config.PeticionTimeOut();
    CFileAdmin files;
    const std::string folder = files.GetReceivedPath();
    const std::string path = folder + strIdPrescripcion + ".xml";
    os::DirectoryWatch watch(folder);
    const auto start = std::chrono::steady_clock::now();
    int64_t elapsed = 0;
    while (elapsed < limit && !arrived) {
      const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
      // Seconds rounded half to even, as the old assignment of a division did.
      elapsed = static_cast<int64_t>(std::nearbyint(static_cast<double>(ms.count()) / 1000.0));
      if (interval == 0) Raise(errnum::kDivisionByZero, kMethod);
      if (elapsed % interval == 0 && files.ExistResponseFile(strIdPrescripcion, fldReceived)) {
        const uint32_t attributes = os::GetAttributes(path, kMethod);
        core::LogLine("CInterface.WaitResponse: " + errors::Text("log.wait.answer_seen", {folder + strIdPrescripcion,
                                                                                         std::to_string(attributes)}));
        arrived = attributes == os::kAttrHidden;
      }
      // An executor that has ended will write nothing more: waiting on to the time-out would
      // only hold the till. Its answer, if it left one, is taken by the last look below.
      if (!arrived && executorEnded_ && executorEnded_()) {
        if (!os::PathExists(path))
          core::LogLine("CInterface.WaitResponse: " + errors::Text("log.wait.executor_ended", {path}));
        break;
      }
      if (OnIdle) OnIdle();
      if (!arrived && elapsed < limit) watch.Wait(kPass);
    }
    const uint32_t attributes = os::GetAttributes(path, kMethod);
    core::LogLine("CInterface.WaitResponse: " + errors::Text("log.wait.last_look", {path, std::to_string(attributes)}));
    if (attributes != os::kAttrHidden || !arrived) {
      core::LogLine("CInterface.WaitResponse: " +
                    errors::Text("log.wait.look_again", {path, std::to_string(attributes)}));
      arrived = files.ExistResponseFile(strIdPrescripcion, fldReceived);
    }
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(arrived);
  return arrived;
}

}  // namespace velmora
