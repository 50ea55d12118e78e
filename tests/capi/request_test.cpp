// Requests and batches built through the C interface reach the C++ objects intact.
#include <gtest/gtest.h>

#include <string>

#include "capi/handles.h"
#include "interface/interface_fixture.h"
#include "velmora/velmora.h"

namespace {

struct TextProperty {
  int id;
  std::string velmora::CPeticionDispensacion::*member;
};

using P = velmora::CPeticionDispensacion;
const TextProperty kTextProperties[] = {
    {VELMORA_Importe, &P::Importe}, {VELMORA_ImporteAportacion, &P::ImporteAportacion},
    {VELMORA_IdFarmacia, &P::IdFarmacia}, {VELMORA_FechaDispensacion, &P::FechaDispensacion},
    {VELMORA_IDPrescripcion, &P::IDPrescripcion}, {VELMORA_Idioma, &P::Idioma}, {VELMORA_IdUsuario, &P::IdUsuario},
    {VELMORA_IdFarmaceutico, &P::IdFarmaceutico}, {VELMORA_ClaveUsuario, &P::ClaveUsuario},
    {VELMORA_EnvasesDispensados, &P::EnvasesDispensados}, {VELMORA_NumeroReceta, &P::NumeroReceta},
    {VELMORA_IdProvincia, &P::IdProvincia}, {VELMORA_CodigoDispensado, &P::CodigoDispensado},
    {VELMORA_CodigoColegiadoPrescriptor, &P::CodigoColegiadoPrescriptor},
    {VELMORA_FechaPrescripcion, &P::FechaPrescripcion}, {VELMORA_Tis, &P::Tis},
    {VELMORA_FormulaMagistral, &P::FormulaMagistral}, {VELMORA_Lector, &P::Lector},
    {VELMORA_NombreMedicamento, &P::NombreMedicamento}, {VELMORA_NombrePaciente, &P::NombrePaciente},
    {VELMORA_NecesitaVisado, &P::NecesitaVisado},
};

// Each text property lands in its own member and in no other: a value unique to the property
// is written to all of them, then every member is compared.
TEST(CApiRequest, EveryTextPropertyLandsInItsOwnMember) {
  velmora::testing::RuntimeFolder folder;
  velmora_CPeticionDispensacion* request = nullptr;
  ASSERT_EQ(velmora_CPeticionDispensacion_create(&request), VELMORA_OK);
  for (const auto& p : kTextProperties) {
    const std::string value = "valor " + std::to_string(p.id) + " \xC3\xB1";
    ASSERT_EQ(velmora_CPeticionDispensacion_SetText(request, p.id, value.c_str()), VELMORA_OK) << p.id;
  }
  for (const auto& p : kTextProperties) {
    const std::string expected = "valor " + std::to_string(p.id) + " \xC3\xB1";
    EXPECT_EQ(request->impl.*p.member, expected) << p.id;
    const char* read = nullptr;
    ASSERT_EQ(velmora_CPeticionDispensacion_Text(request, p.id, &read), VELMORA_OK);
    EXPECT_EQ(read, expected) << p.id;
  }
  // The numbers between and around the text properties belong to no text property.
  for (int id : {0, 17, 19, 24, 25, -1}) {
    const char* read = nullptr;
    EXPECT_EQ(velmora_CPeticionDispensacion_SetText(request, id, "x"), VELMORA_ERR_INVALID_VALUE) << id;
    EXPECT_EQ(velmora_CPeticionDispensacion_Text(request, id, &read), VELMORA_ERR_INVALID_VALUE) << id;
  }

  EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
}

}  // namespace

velmora_CPeticionDispensacion* CompleteCRequest(const char* id, const char* product = nullptr);

namespace {

TEST(CApiRequest, BatchKeepsCopiesAndRefusesIncompleteRequests) {
  velmora::testing::InterfaceFixture f;
  velmora_CListadoDispensaciones* list = nullptr;
  ASSERT_EQ(velmora_CListadoDispensaciones_create(&list), VELMORA_OK);
  velmora_CPeticionDispensacion* first = CompleteCRequest("");  // blank: the batch names it
  velmora_CPeticionDispensacion* second = CompleteCRequest("RX002");
  velmora_CPeticionDispensacion* empty = nullptr;
  ASSERT_EQ(velmora_CPeticionDispensacion_create(&empty), VELMORA_OK);
  velmora_CPeticionDispensacion_SetText(first, VELMORA_Lector, "LECTOR1");

  int added = 0;
  ASSERT_EQ(velmora_CListadoDispensaciones_aniadirDispensacion(list, first, &added), VELMORA_OK);
  EXPECT_EQ(added, 1);
  ASSERT_EQ(velmora_CListadoDispensaciones_aniadirDispensacion(list, second, &added), VELMORA_OK);
  EXPECT_EQ(added, 1);
  ASSERT_EQ(velmora_CListadoDispensaciones_aniadirDispensacion(list, empty, &added), VELMORA_OK);
  EXPECT_EQ(added, 0);
  size_t count = 0;
  ASSERT_EQ(velmora_CListadoDispensaciones_Count(list, &count), VELMORA_OK);
  EXPECT_EQ(count, 2u);

  // The caller's request got the identifier the batch made for it.
  const char* id = nullptr;
  ASSERT_EQ(velmora_CPeticionDispensacion_Text(first, VELMORA_IDPrescripcion, &id), VELMORA_OK);
  EXPECT_STREQ(id, "ITPF148F1U1T1240203090507");
  // A later change to the caller's object does not reach the batch; releasing it does not either.
  velmora_CPeticionDispensacion_SetText(first, VELMORA_Importe, "99");
  EXPECT_EQ(velmora_CPeticionDispensacion_release(first), VELMORA_OK);

  velmora_CPeticionDispensacion* item = nullptr;
  ASSERT_EQ(velmora_CListadoDispensaciones_Item(list, 1, &item), VELMORA_OK);
  const char* text = nullptr;
  velmora_CPeticionDispensacion_Text(item, VELMORA_Importe, &text);
  EXPECT_STREQ(text, "10,50");
  velmora_CPeticionDispensacion_Text(item, VELMORA_NumeroReceta, &text);
  EXPECT_STREQ(text, "LECTOR1");  // a batch item carries the reader's value as its number
  EXPECT_EQ(velmora_CPeticionDispensacion_release(item), VELMORA_OK);

  for (size_t bad : {size_t{0}, size_t{3}}) EXPECT_EQ(velmora_CListadoDispensaciones_Item(list, bad, &item), VELMORA_ERR_INDEX);
  ASSERT_EQ(velmora_CListadoDispensaciones_ResetDispensacionesCol(list), VELMORA_OK);
  ASSERT_EQ(velmora_CListadoDispensaciones_Count(list, &count), VELMORA_OK);
  EXPECT_EQ(count, 0u);

  EXPECT_EQ(velmora_CPeticionDispensacion_release(second), VELMORA_OK);
  EXPECT_EQ(velmora_CPeticionDispensacion_release(empty), VELMORA_OK);
  EXPECT_EQ(velmora_CListadoDispensaciones_release(list), VELMORA_OK);
}

}  // namespace

// A request with every text of testing::CompleteRequest() (road_test.cpp uses it too).
velmora_CPeticionDispensacion* CompleteCRequest(const char* id, const char* product) {
  velmora_CPeticionDispensacion* r = nullptr;
  EXPECT_EQ(velmora_CPeticionDispensacion_create(&r), VELMORA_OK);
  const velmora::CPeticionDispensacion filled = velmora::testing::CompleteRequest();
  for (const auto& p : kTextProperties)
    EXPECT_EQ(velmora_CPeticionDispensacion_SetText(r, p.id, (filled.*p.member).c_str()), VELMORA_OK);
  velmora_CPeticionDispensacion_SetText(r, VELMORA_IDPrescripcion, id);
  if (product) velmora_CPeticionDispensacion_SetText(r, VELMORA_CodigoDispensado, product);
  return r;
}
