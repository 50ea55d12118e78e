"""What the module adds to the C interface, against a runtime folder whose service is velmora-sim
(VELMORA_HOME, set up by scripts/install_check.sh, which also runs the example host on it)."""
import unittest

import velmora


class ModuleTest(unittest.TestCase):
    def test_a_refused_call_raises_with_the_status_number_and_text(self):
        with self.assertRaises(velmora.VelmoraError) as raised:
            velmora._call("CPeticionDispensacion_SetText", velmora.Request()._handle, 17, b"x")
        self.assertEqual((raised.exception.number, raised.exception.text), (3, "unknown property or collection"))

    def test_missing_fields_and_the_kind_of_answer(self):
        self.assertEqual(velmora.Request(Importe="1").missing_fields()[:3], ["ClaveUsuario", "IdUsuario", "Idioma"])
        with velmora.Interface() as iface:
            r = iface.solicitud_dispensacion(velmora.Request(Importe="1"))
            self.assertEqual((r.datos_validos, r.tipo_respuesta, r.fallo_ejecutor), (False, velmora.rspInternal, ""))
            self.assertEqual([e.Number for e in iface.errores()][:1], [32002])


if __name__ == "__main__":
    unittest.main()
