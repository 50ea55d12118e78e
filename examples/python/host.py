#!/usr/bin/env python3
"""A pharmacy host in Python: sends one dispensation through libvelmora (ctypes, standard
library only) and prints the verdict.

    python3 host.py [--library PATH] [CodigoDispensado]

The library is PATH, else $VELMORA_LIBRARY, else whatever the system's loader finds as
libvelmora.so.1. The runtime folder (velmora.ini, executor.exe) is $VELMORA_HOME, else the folder
of libvelmora.so. Exit status: 0 when the data was valid, 1 when not, 2 when the C interface
refused a call.
"""
import argparse
import ctypes
import os
import sys

# velmora.h, as far as this host uses it.
VELMORA_OK = 0
VELMORA_ERR_INVALID_UTF8 = 4
PROPERTIES = {
    "Importe": 1, "ImporteAportacion": 2, "IdFarmacia": 3, "FechaDispensacion": 4,
    "IDPrescripcion": 5, "Idioma": 6, "IdUsuario": 7, "IdFarmaceutico": 8, "ClaveUsuario": 9,
    "EnvasesDispensados": 10, "NumeroReceta": 11, "IdProvincia": 12, "CodigoDispensado": 13,
    "CodigoColegiadoPrescriptor": 14, "FechaPrescripcion": 15, "Tis": 16, "FormulaMagistral": 18,
    "Lector": 20, "NombreMedicamento": 21, "NombrePaciente": 22, "NecesitaVisado": 23,
}
m_colTextoAviso, m_colTextoMotivosRechazo, m_colCodigoMotivosRechazo, m_colCodigoAviso = 1, 2, 3, 4
Pensionista, Principio_Activo = 1, 2


class CErrorItem(ctypes.Structure):
    _fields_ = [("Number", ctypes.c_int32), ("Description", ctypes.c_char_p),
                ("HelpContext", ctypes.c_char_p), ("HelpFile", ctypes.c_char_p),
                ("Source", ctypes.c_char_p)]


EVENT = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
AL_INICIAR = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)
AL_TERMINAR = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int, ctypes.c_int32)


class VelmoraError(Exception):
    pass


def load(path):
    lib = ctypes.CDLL(path)
    H = ctypes.c_void_p
    P = ctypes.POINTER
    signatures = {
        "velmora_status_text": ([ctypes.c_int], ctypes.c_char_p),
        "velmora_version": ([], ctypes.c_char_p),
        "velmora_CInterface_create": ([P(H)], ctypes.c_int),
        "velmora_CInterface_release": ([H], ctypes.c_int),
        "velmora_CInterface_Enabled": ([H, P(ctypes.c_int)], ctypes.c_int),
        "velmora_CInterface_NombreServicio": ([H, P(ctypes.c_char_p)], ctypes.c_int),
        "velmora_CInterface_NombreLog": ([H, P(ctypes.c_char_p)], ctypes.c_int),
        "velmora_CInterface_SolicitudDispensacion": ([H, H, P(H)], ctypes.c_int),
        "velmora_CInterface_Errores": ([H, P(H)], ctypes.c_int),
        "velmora_CInterface_OnAlIniciarSolicitudDispensacion": ([H, AL_INICIAR, H], ctypes.c_int),
        "velmora_CInterface_OnAlTerminarSolicitudDispensacion": ([H, AL_TERMINAR, H], ctypes.c_int),
        "velmora_CInterface_OnIdle": ([H, EVENT, H], ctypes.c_int),
        "velmora_CPeticionDispensacion_create": ([P(H)], ctypes.c_int),
        "velmora_CPeticionDispensacion_release": ([H], ctypes.c_int),
        "velmora_CPeticionDispensacion_SetText": ([H, ctypes.c_int, ctypes.c_char_p], ctypes.c_int),
        "velmora_CPeticionDispensacion_Text": ([H, ctypes.c_int, P(ctypes.c_char_p)], ctypes.c_int),
        "velmora_CPeticionDispensacion_SetRegimenReceta": ([H, ctypes.c_int32], ctypes.c_int),
        "velmora_CPeticionDispensacion_SetTipoPrescripcion": ([H, ctypes.c_int32], ctypes.c_int),
        "velmora_CRespuestaPeticion_release": ([H], ctypes.c_int),
        "velmora_CRespuestaPeticion_DatosValidos": ([H, P(ctypes.c_int)], ctypes.c_int),
        "velmora_CRespuestaPeticion_DispensacionRealizada": ([H, P(ctypes.c_int)], ctypes.c_int),
        "velmora_CRespuestaPeticion_m_intNAvisos": ([H, P(ctypes.c_int16)], ctypes.c_int),
        "velmora_CRespuestaPeticion_m_intNMotivosRechazo": ([H, P(ctypes.c_int16)], ctypes.c_int),
        "velmora_CRespuestaPeticion_Count": ([H, ctypes.c_int, P(ctypes.c_size_t)], ctypes.c_int),
        "velmora_CRespuestaPeticion_Item": ([H, ctypes.c_int, ctypes.c_size_t, P(ctypes.c_char_p)], ctypes.c_int),
        "velmora_CError_release": ([H], ctypes.c_int),
        "velmora_CError_Count": ([H, P(ctypes.c_size_t)], ctypes.c_int),
        "velmora_CError_Item": ([H, ctypes.c_size_t, P(CErrorItem)], ctypes.c_int),
    }
    for name, (argtypes, restype) in signatures.items():
        fn = getattr(lib, name)
        fn.argtypes = argtypes
        fn.restype = restype
    return lib


def check(lib, name, *args):
    status = getattr(lib, name)(*args)
    if status != VELMORA_OK:
        raise VelmoraError(f"{name}: {lib.velmora_status_text(status).decode()}")


def text(value):
    return value.decode("utf-8") if value is not None else ""


def collection(lib, response, which):
    count = ctypes.c_size_t()
    check(lib, "velmora_CRespuestaPeticion_Count", response, which, ctypes.byref(count))
    items = []
    for i in range(1, count.value + 1):
        item = ctypes.c_char_p()
        check(lib, "velmora_CRespuestaPeticion_Item", response, which, i, ctypes.byref(item))
        items.append(text(item.value))
    return items


def print_list(label, codes, texts):
    print(f"{label}:" + (" none" if not codes and not texts else ""))
    for i in range(max(len(codes), len(texts))):
        print(f"  {codes[i] if i < len(codes) else ''}  {texts[i] if i < len(texts) else ''}")


def print_errors(lib, iface):
    errors = ctypes.c_void_p()
    check(lib, "velmora_CInterface_Errores", iface, ctypes.byref(errors))
    try:
        count = ctypes.c_size_t()
        check(lib, "velmora_CError_Count", errors, ctypes.byref(count))
        for i in range(1, count.value + 1):
            item = CErrorItem()
            check(lib, "velmora_CError_Item", errors, i, ctypes.byref(item))
            print(f"  error {item.Number} ({text(item.Source)}): {text(item.Description)}")
    finally:
        lib.velmora_CError_release(errors)


def dispense(lib, product):
    iface = ctypes.c_void_p()
    request = ctypes.c_void_p()
    response = ctypes.c_void_p()
    idle_passes = [0]

    # The callbacks must outlive the call: ctypes frees a CFUNCTYPE object nobody refers to.
    def on_start(_user, ident):
        print(f"AlIniciarSolicitudDispensacion: {text(ident)}")

    def on_finish(_user, correcto, tipo):
        print(f"AlTerminarSolicitudDispensacion: blnCorrecto={correcto} intTipoRespuesta={tipo}")
        log = ctypes.c_char_p()  # events may call back into the library
        check(lib, "velmora_CInterface_NombreLog", iface, ctypes.byref(log))
        print(f"log: {text(log.value)}")

    def on_idle(_user):
        idle_passes[0] += 1  # a GUI host would pump its event loop here

    callbacks = (AL_INICIAR(on_start), AL_TERMINAR(on_finish), EVENT(on_idle))

    check(lib, "velmora_CInterface_create", ctypes.byref(iface))
    try:
        enabled = ctypes.c_int()
        service = ctypes.c_char_p()
        check(lib, "velmora_CInterface_Enabled", iface, ctypes.byref(enabled))
        check(lib, "velmora_CInterface_NombreServicio", iface, ctypes.byref(service))
        print(f"velmora {text(lib.velmora_version())}, Enabled: {bool(enabled.value)}, "
              f"NombreServicio: {text(service.value)}")
        check(lib, "velmora_CInterface_OnAlIniciarSolicitudDispensacion", iface, callbacks[0], None)
        check(lib, "velmora_CInterface_OnAlTerminarSolicitudDispensacion", iface, callbacks[1], None)
        check(lib, "velmora_CInterface_OnIdle", iface, callbacks[2], None)

        check(lib, "velmora_CPeticionDispensacion_create", ctypes.byref(request))
        fields = {
            "IdFarmacia": "F0042", "IdProvincia": "48", "IdUsuario": "mostrador1", "ClaveUsuario": "demo",
            "Idioma": "es", "IdFarmaceutico": "FC0007", "FechaDispensacion": "21/11/2026",
            "Importe": "12,40", "ImporteAportacion": "4,96", "EnvasesDispensados": "1",
            "CodigoColegiadoPrescriptor": "4812345", "FechaPrescripcion": "10/11/2026",
            "Tis": "BBBB123456", "NombrePaciente": "Paciente de ejemplo, año 2026",
            "IDPrescripcion": "RXP0001", "CodigoDispensado": product,
        }
        for name, value in fields.items():
            check(lib, "velmora_CPeticionDispensacion_SetText", request, PROPERTIES[name], value.encode("utf-8"))
        check(lib, "velmora_CPeticionDispensacion_SetRegimenReceta", request, Pensionista)
        check(lib, "velmora_CPeticionDispensacion_SetTipoPrescripcion", request, Principio_Activo)

        check(lib, "velmora_CInterface_SolicitudDispensacion", iface, request, ctypes.byref(response))

        ident = ctypes.c_char_p()
        valid, done = ctypes.c_int(), ctypes.c_int()
        avisos, motivos = ctypes.c_int16(), ctypes.c_int16()
        check(lib, "velmora_CPeticionDispensacion_Text", request, PROPERTIES["IDPrescripcion"], ctypes.byref(ident))
        check(lib, "velmora_CRespuestaPeticion_DatosValidos", response, ctypes.byref(valid))
        check(lib, "velmora_CRespuestaPeticion_DispensacionRealizada", response, ctypes.byref(done))
        check(lib, "velmora_CRespuestaPeticion_m_intNAvisos", response, ctypes.byref(avisos))
        check(lib, "velmora_CRespuestaPeticion_m_intNMotivosRechazo", response, ctypes.byref(motivos))
        print(f"IDPrescripcion: {text(ident.value)}")
        print(f"DatosValidos: {bool(valid.value)}")
        print(f"DispensacionRealizada: {bool(done.value)}")
        print(f"NAvisos: {avisos.value}  NMotivosRechazo: {motivos.value}")
        print_list("avisos", collection(lib, response, m_colCodigoAviso), collection(lib, response, m_colTextoAviso))
        print_list("motivos de rechazo", collection(lib, response, m_colCodigoMotivosRechazo),
                   collection(lib, response, m_colTextoMotivosRechazo))
        print_errors(lib, iface)
        print(f"idle passes: {idle_passes[0]}")
        return bool(valid.value)
    finally:
        if response:
            lib.velmora_CRespuestaPeticion_release(response)
        if request:
            lib.velmora_CPeticionDispensacion_release(request)
        lib.velmora_CInterface_release(iface)


def main():
    parser = argparse.ArgumentParser(description="Send one dispensation through libvelmora.")
    parser.add_argument("--library", default=os.environ.get("VELMORA_LIBRARY", "libvelmora.so.1"))
    parser.add_argument("product", nargs="?", default="600000", help="CodigoDispensado (sim:<scenario> for velmora-sim)")
    args = parser.parse_args()
    try:
        lib = load(args.library)
    except OSError as e:
        print(f"cannot load {args.library}: {e}", file=sys.stderr)
        return 2
    try:
        return 0 if dispense(lib, args.product) else 1
    except VelmoraError as e:
        print(e, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
