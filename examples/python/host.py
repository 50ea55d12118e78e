#!/usr/bin/env python3
"""A pharmacy host in Python: sends one dispensation through the velmora module (ctypes over
libvelmora's C interface; `pip install ./python`) and prints the verdict.

    python3 host.py [--library PATH] [CodigoDispensado]

The library is PATH, else $VELMORA_LIBRARY, else whatever the system's loader finds as
libvelmora.so.1. The runtime folder (velmora.ini, executor.exe) is $VELMORA_HOME, else the folder
of libvelmora.so. Exit status: 0 when the data was valid, 1 when not, 2 when the C interface
refused a call.
"""
import argparse
import sys

import velmora


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", help="path of libvelmora.so")
    parser.add_argument("product", nargs="?", default="600000", help="CodigoDispensado (the simulator answers by it)")
    args = parser.parse_args()
    velmora.load(args.library)
    try:
        with velmora.Interface() as iface:
            print(f"velmora {velmora.version()}, Enabled: {iface.enabled}, NombreServicio: {iface.nombre_servicio}")
            iface.on_start = lambda ident: print(f"AlIniciarSolicitudDispensacion: {ident}")
            iface.on_finish = lambda ok, kind: print(
                f"AlTerminarSolicitudDispensacion: blnCorrecto={int(ok)} intTipoRespuesta={kind}")
            request = velmora.Request(
                IdFarmacia="F0042", IdProvincia="48", IdUsuario="mostrador1", ClaveUsuario="demo", Idioma="es",
                IdFarmaceutico="FC0007", FechaDispensacion="21/11/2026", Importe="12,40", ImporteAportacion="4,96",
                EnvasesDispensados="1", CodigoColegiadoPrescriptor="4812345", FechaPrescripcion="10/11/2026",
                Tis="BBBB123456", NombrePaciente="Paciente de ejemplo, año 2026", IDPrescripcion="RXP0001",
                CodigoDispensado=args.product, RegimenReceta=velmora.Pensionista,
                TipoPrescripcion=velmora.Principio_Activo)
            response = iface.solicitud_dispensacion(request)
            print(f"IDPrescripcion: {request.IDPrescripcion}")
            print(f"DatosValidos: {response.datos_validos}")
            print(f"DispensacionRealizada: {response.dispensacion_realizada}")
            print(f"TipoRespuesta: {response.tipo_respuesta}")
            print(f"NAvisos: {response.n_avisos}  NMotivosRechazo: {response.n_motivos_rechazo}")
            for label, rows in (("avisos", response.avisos), ("motivos de rechazo", response.motivos_rechazo)):
                print(f"{label}:" + ("" if rows else " none"))
                for code, text in rows:
                    print(f"  {code}  {text}")
            if response.fallo_ejecutor:
                print(f"executor.exe: {response.fallo_ejecutor}")
            for e in iface.errores():
                print(f"  error {e.Number} ({e.Source}): {e.Description}")
            return 0 if response.datos_validos else 1
    except velmora.VelmoraError as e:
        print(f"velmora: {e}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
