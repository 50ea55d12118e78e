#include "velmora/interface.h"

#include "core/context.h"
#include "interface/road.h"
#include "messages/identifier.h"
#include "vbcompat/text.h"

namespace velmora {

namespace {

constexpr const char* kMethod = "CInterface.SolicitudDispensacion";

// One dispensation: its id is the request's, made up when blank, and named from the first line.
class Single : public interface::MessageKind {
 public:
  explicit Single(CPeticionDispensacion& request) : MessageKind(kMethod, false), request_(request) {}

  std::string Open() override {
    if (vb::Trim(request_.IDPrescripcion).empty())
      request_.IDPrescripcion = messages::ReserveGeneratedIdentifier(request_);
    id_ = request_.IDPrescripcion;
    blank_ = vb::Trim(id_).empty();
    // An unusable id is refused below and never reaches the trace.
    return blank_ || messages::IsUsableIdentifier(id_) ? id_ : std::string();
  }
  std::string Announce() override {
    if (!blank_) interface::RefuseUnusableIdentifier(id_, kMethod);
    return id_;
  }
  std::string Identify() override {
    if (!request_.IObject_RequiredFields()) Raise(errnum::kRequiredFields, kMethod);
    if (blank_) Raise(errnum::kNoPrescriptionId, kMethod);
    return id_;
  }
  bool WriteRequest(const std::string& path) override { return request_.ToXMLFile(path); }

 private:
  CPeticionDispensacion& request_;
  std::string id_;
  bool blank_ = false;
};

}  // namespace

std::unique_ptr<CRespuestaPeticion> CInterface::SolicitudDispensacion(CPeticionDispensacion& objPeticionDispensacion) {
  Single message(objPeticionDispensacion);
  return interface::Dispense<CRespuestaPeticion>(
      {*this, executorEnded_, [this](const char* method) { return OnOwnThread(method); },
       [this](const std::string& id) { return WaitResponse(id); }},
      message);
}

}  // namespace velmora
