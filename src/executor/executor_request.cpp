#include "velmora/executor.h"

#include <memory>
#include <optional>

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
#include "executor/executor_impl.h"
#include "os/attributes.h"
#include "os/files.h"
#include "xml/xml.h"
#include "velmora/messages.h"

namespace velmora {

namespace {

// What tells the single request and the batch apart; every other step is shared.
struct RequestTexts {
  const char* method;
  const char* operation;
  const char* receivingSource;
};

constexpr RequestTexts kSingle = {"CExecutor.SolicitudDispensacion", "SolicitudDispensacion", "SolicitudDispensacion"};
constexpr RequestTexts kBatch = {"CExecutor.SolicitudDispensaciones", "SolicitudDispensacionMasiva",
                                 "SolicitudDispensaciones"};

// Both kinds raise a load failure under the single request's name: that is the source this
// error has always carried, and log readers match on it. The line before the hidden mark is
// shared the same way.
constexpr const char* kLoadErrorSource = "CExecutor.SolicitudDispensacion";
constexpr const char* kHiddenLineSource = "CExecutor.SolicitudDispensacion";

// Writes `cause` into the failure hand-over of `id` (layout.h), whole (aside, then renamed) and
// private: only what a reader of the log line gets, the text up to its first line end, so the
// till reports exactly that. Without the folder no till waits for this executor, and nothing is
// written; nothing is logged either way, the log line being written already.
void HandOffFailure(const std::string& id, const std::string& cause) {
  const std::string line = cause + "\r\n";
  std::string seen = line.substr(0, line.find('\n'));
  if (seen.back() == '\r') seen.pop_back();
  core::Quietly([&] {
    os::WriteFileAtomic(CFileAdmin().GetReceivedPath() + core::layout::FailureFileName(id), seen, "CExecutor.Fallo");
  });
}

class ResponseFile {
 public:
  virtual ~ResponseFile() = default;
  virtual bool Fill(const XmlNodeList& nodes) = 0;
  virtual bool Write(const std::string& path) = 0;
};

template <class Response>
class ResponseFileOf : public ResponseFile {
 public:
  bool Fill(const XmlNodeList& nodes) override { return response_.IObject_FromXML(nodes); }
  bool Write(const std::string& path) override { return response_.ToXMLFile(path); }

 private:
  Response response_;
};

}  // namespace

bool CExecutor::SolicitudDispensacion(const std::string& strIdPrescripcion) { return Request(false, strIdPrescripcion); }

bool CExecutor::SolicitudDispensaciones(const std::string& strIdPrescripcion) { return Request(true, strIdPrescripcion); }

bool CExecutor::Request(bool batch, const std::string& id) {
  const RequestTexts& texts = batch ? kBatch : kSingle;
  const std::string method = texts.method;
  core::Context& ctx = core::ThreadContext();
  auto reportFailure = [&](const bool& result) {
    core::CopySharedErrors(errores_);
    // The first error is the cause (the later ones say which step gave up). Logged with the id,
    // so a reader of a log other executors write to as well can tell whose it is, and handed to
    // the till that waits for this request.
    if (!result && errores_.Errores().Count() > 0) {
      const CErrorItem& cause = *errores_.Errores().Item(1);
      const std::string text = errors::Text("log.executor.failure", {std::to_string(cause.Number), cause.Description});
      LogWithId(std::string(core::kExecutorFailureMark) + text);
      HandOffFailure(id, text);
    }
  };
  // The body fills the result as it goes: a host's event that fails after the answer is written
  // leaves the request done, with the event's error in Errores.
  return core::Method<bool>({.trace = method.c_str(), .after = reportFailure}, [&](bool& result) {
    LogWithId(method + ":" + errors::Text("log.executor.started"));
    if (!enabled_) Raise(errnum::kInterfaceNotActive, method);
    if (AlIniciarSolicitudDispensacion) AlIniciarSolicitudDispensacion();

    CFileAdmin folders;
    if (batch) {
      core::LogLine(method + " " + errors::Text("log.executor.sended_path", {folders.GetSendedPath()}));
      core::LogLine(method + " " + errors::Text("log.executor.id", {id}));
    }
    xml::Document request;
    if (!request.Load(folders.GetSendedPath() + core::layout::MessageFileName(id))) Raise(errnum::kXmlNotLoaded, kLoadErrorSource);

    if (!ConectarServicio()) Raise(errnum::kServiceUnreachable, method);
    LogWithId(method + ":" + errors::Text("log.executor.sending"));
    folders.MakeAuditor();
    ctx.Auditor().Save(id, audMarkMsgSended);

    std::optional<XmlNodeList> answer =
        ServiceCall([&] { return impl_->client->Call(texts.operation, request.ChildNodes()); });
    datosEnviados_ = true;
    ctx.Auditor().Save(id, audMarkMsgReceived);
    ctx.Config.UpdateAndSaveSended();
    if (!answer) Raise(errnum::kResponseNotFilled, method);
    core::LogLine(id + " " + texts.receivingSource + ":" + errors::Text("log.executor.receiving"));
    ctx.Config.UpdateAndSaveReceived();

    std::unique_ptr<ResponseFile> response;
    if (batch)
      response = std::make_unique<ResponseFileOf<CRespDispensaciones>>();
    else
      response = std::make_unique<ResponseFileOf<CRespuestaPeticion>>();
    if (!response->Fill(*answer)) Raise(errnum::kResponseNotFilled, method);

    folders.MakeReceived();
    LogWithId(method + ":" + errors::Text("log.executor.before_write"));
    // The file appears under its final name only whole (written aside, then renamed), so a
    // killed executor never leaves half a response for the waiting side to read.
    const std::string path = folders.GetReceivedPath() + core::layout::MessageFileName(id);
    if (!response->Write(path)) Raise(errnum::kDispensationNotExported, method);
    LogWithId(method + ":" + errors::Text("log.executor.after_write"));
    LogWithId(std::string(kHiddenLineSource) + ":" + errors::Text("log.executor.hiding"));
    // The completion mark the waiting side polls for: hidden and nothing else.
    os::SetAttributes(path, os::kAttrHidden, method);

    if (ctx.Auditor().StoreInDelayed(id)) {
      folders.MakeDelayed();
      folders.MoveToDelayed(folders.GetReceivedPath(), core::layout::MessageFileName(id));
    }
    result = true;
    if (AlTerminarSolicitudDispensacion) AlTerminarSolicitudDispensacion();
  });
}

}  // namespace velmora
