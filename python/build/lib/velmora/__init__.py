"""velmora for Python: the C interface of libvelmora through ctypes, standard library only.

    import velmora
    with velmora.Interface() as iface:
        request = velmora.Request(IdFarmacia="F0042", ...)
        response = iface.solicitud_dispensacion(request)
        print(response.datos_validos, response.dispensacion_realizada, response.tipo_respuesta)

The library is the path given to load(), else $VELMORA_LIBRARY, else libvelmora.so.1 as the
system's loader finds it. The runtime folder (velmora.ini, executor.exe) is $VELMORA_HOME, else
the folder of libvelmora.so. A call the C interface refuses raises VelmoraError with the status
number and text; a dispensation that fails shows, as in C and C++, as datos_validos False and
entries in Interface.errores().
"""
from __future__ import annotations

import ctypes
import os
from dataclasses import dataclass, field
from typing import Callable, List, Optional, Tuple

__all__ = ["VelmoraError", "ErrorItem", "Request", "Response", "Interface", "load", "version", "Pensionista",
           "Trabajador", "Principio_Activo", "Especialidad_Farmaceutica", "Formula_Magistral",
           "rspReceived", "rspDefault", "rspInternal"]

rspReceived, rspDefault, rspInternal = 1, 2, 3  # Response.tipo_respuesta
RegimenVacio, Trabajador, Pensionista = -1, 0, 1
PrescripcionVacio, Especialidad_Farmaceutica, Principio_Activo, Formula_Magistral, Efectos_Y_Accesorios = -1, 1, 2, 3, 5

# velmora_PeticionText
_TEXT = {
    "Importe": 1, "ImporteAportacion": 2, "IdFarmacia": 3, "FechaDispensacion": 4,
    "IDPrescripcion": 5, "Idioma": 6, "IdUsuario": 7, "IdFarmaceutico": 8, "ClaveUsuario": 9,
    "EnvasesDispensados": 10, "NumeroReceta": 11, "IdProvincia": 12, "CodigoDispensado": 13,
    "CodigoColegiadoPrescriptor": 14, "FechaPrescripcion": 15, "Tis": 16, "FormulaMagistral": 18,
    "Lector": 20, "NombreMedicamento": 21, "NombrePaciente": 22, "NecesitaVisado": 23,
}
_NUMBERS = ("RegimenReceta", "TipoPrescripcion")
_TEXTO_AVISO, _TEXTO_MOTIVOS, _CODIGO_MOTIVOS, _CODIGO_AVISO = 1, 2, 3, 4


class VelmoraError(Exception):
    """A call the C interface refused: `number` is its velmora_status, `text` what it means."""

    def __init__(self, function: str, number: int, text: str) -> None:
        super().__init__(f"{function}: {text} (status {number})")
        self.function, self.number, self.text = function, number, text


@dataclass(frozen=True)
class ErrorItem:
    """One entry of Errores: the library's error number, its Spanish text and its source."""
    Number: int
    Description: str
    Source: str


class _CErrorItem(ctypes.Structure):
    _fields_ = [("Number", ctypes.c_int32), ("Description", ctypes.c_char_p),
                ("HelpContext", ctypes.c_char_p), ("HelpFile", ctypes.c_char_p), ("Source", ctypes.c_char_p)]


_EVENT = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
_AL_INICIAR = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)
_AL_TERMINAR = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int, ctypes.c_int32)
_lib: Optional[ctypes.CDLL] = None


def load(path: Optional[str] = None) -> ctypes.CDLL:
    """Loads libvelmora once (later calls return the same library) and declares its functions."""
    global _lib
    if _lib is not None:
        return _lib
    lib = ctypes.CDLL(path or os.environ.get("VELMORA_LIBRARY") or "libvelmora.so.1")
    H, P, I, S = ctypes.c_void_p, ctypes.POINTER, ctypes.c_int, ctypes.c_char_p
    for name, argtypes in {
        "CInterface_create": [P(H)], "CInterface_release": [H], "CInterface_Enabled": [H, P(I)],
        "CInterface_NombreServicio": [H, P(S)], "CInterface_NombreLog": [H, P(S)],
        "CInterface_SolicitudDispensacion": [H, H, P(H)], "CInterface_Errores": [H, P(H)],
        "CInterface_OnAlIniciarSolicitudDispensacion": [H, _AL_INICIAR, H],
        "CInterface_OnAlTerminarSolicitudDispensacion": [H, _AL_TERMINAR, H],
        "CInterface_OnIdle": [H, _EVENT, H],
        "CPeticionDispensacion_create": [P(H)], "CPeticionDispensacion_release": [H],
        "CPeticionDispensacion_SetText": [H, I, S], "CPeticionDispensacion_Text": [H, I, P(S)],
        "CPeticionDispensacion_SetRegimenReceta": [H, ctypes.c_int32],
        "CPeticionDispensacion_SetTipoPrescripcion": [H, ctypes.c_int32],
        "CPeticionDispensacion_MissingFields": [H, P(S)],
        "CRespuestaPeticion_release": [H], "CRespuestaPeticion_DatosValidos": [H, P(I)],
        "CRespuestaPeticion_DispensacionRealizada": [H, P(I)],
        "CRespuestaPeticion_TipoRespuesta": [H, P(ctypes.c_int32)], "CRespuestaPeticion_FalloEjecutor": [H, P(S)],
        "CRespuestaPeticion_m_intNAvisos": [H, P(ctypes.c_int16)],
        "CRespuestaPeticion_m_intNMotivosRechazo": [H, P(ctypes.c_int16)],
        "CRespuestaPeticion_Count": [H, I, P(ctypes.c_size_t)], "CRespuestaPeticion_Item": [H, I, ctypes.c_size_t, P(S)],
        "CError_release": [H], "CError_Count": [H, P(ctypes.c_size_t)], "CError_Item": [H, ctypes.c_size_t, P(_CErrorItem)],
    }.items():
        fn = getattr(lib, "velmora_" + name)
        fn.argtypes, fn.restype = argtypes, I
    lib.velmora_status_text.argtypes, lib.velmora_status_text.restype = [I], S
    lib.velmora_version.argtypes, lib.velmora_version.restype = [], S
    _lib = lib
    return lib


def _call(name: str, *args) -> None:
    lib = load()
    status = getattr(lib, "velmora_" + name)(*args)
    if status != 0:
        raise VelmoraError("velmora_" + name, status, lib.velmora_status_text(status).decode())


def _text(value: Optional[bytes]) -> str:
    return value.decode("utf-8") if value is not None else ""


def _read(name: str, handle, ctype):
    out = ctype()
    _call(name, handle, ctypes.byref(out))
    return out.value


def version() -> str:
    """The library's version, "major.minor.patch"."""
    return _text(load().velmora_version())


class Request:
    """A dispensation request; properties by their C++ names, as keyword arguments or attributes."""

    def __init__(self, **fields) -> None:
        handle = ctypes.c_void_p()
        _call("CPeticionDispensacion_create", ctypes.byref(handle))
        object.__setattr__(self, "_handle", handle)
        for name, value in fields.items():
            setattr(self, name, value)

    def __setattr__(self, name: str, value) -> None:
        if name in _TEXT:
            _call("CPeticionDispensacion_SetText", self._handle, _TEXT[name], str(value).encode("utf-8"))
        elif name in _NUMBERS:
            _call(f"CPeticionDispensacion_Set{name}", self._handle, int(value))
        else:
            raise AttributeError(f"a request has no property {name}")

    def __getattr__(self, name: str):
        if name in _TEXT:
            out = ctypes.c_char_p()
            _call("CPeticionDispensacion_Text", self._handle, _TEXT[name], ctypes.byref(out))
            return _text(out.value)
        raise AttributeError(name)

    def missing_fields(self) -> List[str]:
        """The fields that keep the request from being sent (error 32002); [] when complete."""
        missing = _text(_read("CPeticionDispensacion_MissingFields", self._handle, ctypes.c_char_p))
        return missing.split(", ") if missing else []

    def __del__(self) -> None:
        if _lib is not None and getattr(self, "_handle", None):
            _lib.velmora_CPeticionDispensacion_release(self._handle)


@dataclass
class Response:
    """The answer to one dispensation, copied out of the library's response object."""
    datos_validos: bool
    dispensacion_realizada: bool
    tipo_respuesta: int  # rspReceived, rspDefault or rspInternal
    fallo_ejecutor: str  # why executor.exe failed, when it logged it
    n_avisos: int
    n_motivos_rechazo: int
    avisos: List[Tuple[str, str]] = field(default_factory=list)  # (code, text)
    motivos_rechazo: List[Tuple[str, str]] = field(default_factory=list)

    @classmethod
    def _from(cls, handle) -> "Response":
        def items(which: int) -> List[str]:
            out, n = [], ctypes.c_size_t()
            _call("CRespuestaPeticion_Count", handle, which, ctypes.byref(n))
            for i in range(1, n.value + 1):
                item = ctypes.c_char_p()
                _call("CRespuestaPeticion_Item", handle, which, i, ctypes.byref(item))
                out.append(_text(item.value))
            return out

        def pairs(codes: List[str], texts: List[str]) -> List[Tuple[str, str]]:
            return [(codes[i] if i < len(codes) else "", texts[i] if i < len(texts) else "")
                    for i in range(max(len(codes), len(texts)))]

        return cls(
            datos_validos=bool(_read("CRespuestaPeticion_DatosValidos", handle, ctypes.c_int)),
            dispensacion_realizada=bool(_read("CRespuestaPeticion_DispensacionRealizada", handle, ctypes.c_int)),
            tipo_respuesta=_read("CRespuestaPeticion_TipoRespuesta", handle, ctypes.c_int32),
            fallo_ejecutor=_text(_read("CRespuestaPeticion_FalloEjecutor", handle, ctypes.c_char_p)),
            n_avisos=_read("CRespuestaPeticion_m_intNAvisos", handle, ctypes.c_int16),
            n_motivos_rechazo=_read("CRespuestaPeticion_m_intNMotivosRechazo", handle, ctypes.c_int16),
            avisos=pairs(items(_CODIGO_AVISO), items(_TEXTO_AVISO)),
            motivos_rechazo=pairs(items(_CODIGO_MOTIVOS), items(_TEXTO_MOTIVOS)))


class Interface:
    """CInterface: creating it loads velmora.ini. Use it in a `with` block, or call close()."""

    def __init__(self) -> None:
        self._handle = ctypes.c_void_p()
        _call("CInterface_create", ctypes.byref(self._handle))
        # The C callbacks, kept alive as long as the interface: ctypes frees what nobody holds.
        self.on_start: Optional[Callable[[str], None]] = None
        self.on_finish: Optional[Callable[[bool, int], None]] = None
        self.on_idle: Optional[Callable[[], None]] = None
        self._callbacks = (_AL_INICIAR(lambda _u, ident: self.on_start and self.on_start(_text(ident))),
                           _AL_TERMINAR(lambda _u, ok, kind: self.on_finish and self.on_finish(bool(ok), kind)),
                           _EVENT(lambda _u: self.on_idle and self.on_idle()))
        _call("CInterface_OnAlIniciarSolicitudDispensacion", self._handle, self._callbacks[0], None)
        _call("CInterface_OnAlTerminarSolicitudDispensacion", self._handle, self._callbacks[1], None)
        _call("CInterface_OnIdle", self._handle, self._callbacks[2], None)

    @property
    def enabled(self) -> bool:
        return bool(_read("CInterface_Enabled", self._handle, ctypes.c_int))

    @property
    def nombre_servicio(self) -> str:
        return _text(_read("CInterface_NombreServicio", self._handle, ctypes.c_char_p))

    @property
    def nombre_log(self) -> str:
        return _text(_read("CInterface_NombreLog", self._handle, ctypes.c_char_p))

    def solicitud_dispensacion(self, request: Request) -> Response:
        """Sends one dispensation and waits for its answer (or the fallback)."""
        handle = ctypes.c_void_p()
        _call("CInterface_SolicitudDispensacion", self._handle, request._handle, ctypes.byref(handle))
        try:
            return Response._from(handle)
        finally:
            load().velmora_CRespuestaPeticion_release(handle)

    def errores(self) -> List[ErrorItem]:
        """The errors recorded since the interface was created, as after its last call."""
        handle = ctypes.c_void_p()
        _call("CInterface_Errores", self._handle, ctypes.byref(handle))
        try:
            items = []
            for i in range(1, _read("CError_Count", handle, ctypes.c_size_t) + 1):
                item = _CErrorItem()
                _call("CError_Item", handle, i, ctypes.byref(item))
                items.append(ErrorItem(item.Number, _text(item.Description), _text(item.Source)))
            return items
        finally:
            load().velmora_CError_release(handle)

    def close(self) -> None:
        if self._handle:
            _call("CInterface_release", self._handle)
            self._handle = ctypes.c_void_p()

    def __enter__(self) -> "Interface":
        return self

    def __exit__(self, *exc) -> None:
        self.close()

