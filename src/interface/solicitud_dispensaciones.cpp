#include "velmora/interface.h"

#include "core/context.h"
#include "interface/road.h"
#include "vbcompat/text.h"
#include "velmora/pdf.h"

namespace velmora {

namespace {

constexpr const char* kMethod = "CInterface.SolicitudDispensaciones";

// A batch: named after its first item ("MD__<id>"), which is known only once the list is checked,
// so its first log line names none; with `print`, the receipt comes first.
class Batch : public interface::MessageKind {
 public:
  Batch(CListadoDispensaciones& list, bool print) : MessageKind(kMethod, true), list_(list), print_(print) {}

  std::string Open() override { return {}; }
  std::string Announce() override { return {}; }
  // Before any check: the counter prints the receipt even for a batch the library then
  // refuses. Paper is not the dispensation: a receipt that cannot be made (no fonts folder, a
  // full disk) is logged and listed in Errores, and the batch still goes.
  void Print() override {
    if (!print_) return;
    try {
      cPDF receipt;
      receipt.mostrarPDF(list_);
    } catch (const std::exception& e) {
      core::HandleError(kMethod, e);
    }
  }
  std::string Identify() override {
    const auto& items = list_.Dispensaciones();
    if (items.Count() == 0) Raise(errnum::kNoDispensations, kMethod);
    const std::string id = "MD__" + items.Item(1)->IDPrescripcion;
    if (vb::Trim(id).empty()) Raise(errnum::kNoPrescriptionId, kMethod);
    interface::RefuseUnusableIdentifier(id, kMethod);
    return id;
  }
  bool WriteRequest(const std::string& path) override { return list_.ToXMLFile(path); }

 private:
  CListadoDispensaciones& list_;
  const bool print_;
};

}  // namespace

std::unique_ptr<CRespDispensaciones> CInterface::SolicitudDispensaciones(CListadoDispensaciones& objListaDispensaciones,
                                                                         bool Imprimir) {
  Batch message(objListaDispensaciones, Imprimir);
  return interface::Dispense<CRespDispensaciones>(
      {*this, executorEnded_, [this](const char* method) { return OnOwnThread(method); },
       [this](const std::string& id) { return WaitResponse(id); }},
      message);
}

}  // namespace velmora
