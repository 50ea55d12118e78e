"""The module against a runtime folder whose service is velmora-sim (VELMORA_HOME, set up by
scripts/install_check.sh) and whose library is $VELMORA_LIBRARY."""
import unittest

import velmora

COMPLETE = dict(IdFarmacia="F1", IdProvincia="48", IdUsuario="U1", ClaveUsuario="c", Idioma="es", IdFarmaceutico="FC1",
                FechaDispensacion="03/02/2024", Importe="1", ImporteAportacion="0", EnvasesDispensados="1")


class ModuleTest(unittest.TestCase):
    def test_a_refused_call_raises_with_the_status_number_and_text(self):
        with self.assertRaises(velmora.VelmoraError) as raised:
            velmora._call("CPeticionDispensacion_SetText", velmora.Request()._handle, 17, b"x")
        self.assertEqual((raised.exception.number, raised.exception.text), (3, "unknown property or collection"))
        with self.assertRaises(AttributeError):
            velmora.Request(Colour="red")

    def test_verdicts_carry_their_kind_and_what_was_missing(self):
        self.assertEqual(velmora.Request(Importe="1").missing_fields()[:3], ["ClaveUsuario", "IdUsuario", "Idioma"])
        with velmora.Interface() as iface:
            finished = []
            iface.on_finish = lambda ok, kind: finished.append((ok, kind))
            for product, done in (("600000", True), ("sim:rejected", False)):
                r = iface.solicitud_dispensacion(velmora.Request(IDPrescripcion="PY" + product[-3:], CodigoDispensado=product, **COMPLETE))
                self.assertEqual((r.datos_validos, r.dispensacion_realizada, r.tipo_respuesta, r.fallo_ejecutor), (True, done, velmora.rspReceived, ""))
            self.assertEqual(finished, [(True, velmora.rspReceived)] * 2)
            self.assertEqual([code for code, _ in r.motivos_rechazo], ["2001", "2002"])
            self.assertEqual(iface.errores(), [])


if __name__ == "__main__":
    unittest.main()
