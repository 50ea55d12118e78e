#!/usr/bin/env python3
"""Golden run: a fixed set of dispensations through the real velmora, executor.exe and velmora-sim
in one fresh runtime folder; then every file left in the folder, and every command's exit code and
output, compared byte for byte with tests/golden/expected/ after the few rewrites of NORMALISE.

    golden_run.py VELMORA EXECUTOR SIMULATOR      (GOLDEN_UPDATE=1 rewrites the expectations)
"""
import difflib
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import termios
import time

EXPECTED = os.path.join(os.path.dirname(os.path.abspath(__file__)), "expected")
BOUND = 30.0  # seconds any one wait may take, however loaded the machine

# The only rewrites before comparing: what the clock, the process ids and the free port decide.
# Everything else must match byte for byte. The runtime folder's own path is replaced first.
NORMALISE = [
    (rb"\d{4}/\d\d/\d\d \d\d:\d\d:\d\d", b"<yyyy/mm/dd hh:mm:ss>"),    # log and trace lines
    (rb"\d\d/\d\d/\d{4} \d{1,2}:\d\d:\d\d", b"<dd/mm/yyyy h:mm:ss>"),  # log headers, pending Fecha
    (rb"\d\d/\d\d/\d\d \d\d:\d\d:\d\d", b"<yy/mm/dd hh:mm:ss>"),       # audit FECHA_* keys
    (rb"127\.0\.0\.1:\d{4,5}", b"127.0.0.1:<port>"),                    # the simulator's free port
    (rb"after \d+ ms: Couldn't connect", b"after <n> ms: Couldn't connect"),  # curl's connect time
    (rb'"time_ms":"\d+"', b'"time_ms":"<ms since 1970>"'),             # simulator-record.jsonl
    (rb"/CreationDate \(D:\d{14}\)", b"/CreationDate (D:<yyyymmddhhmmss>)"),  # the receipt's date
    # velmora.wsdl.cache: when the description was fetched (seconds since 1970)
    (rb"\A(velmora-service-description 1\n[^\n]*\n)\d+\n", rb"\1<time>\n"),
    # Auditoria/.audit.log.index header: the trail's device and inode, then its modification time
    (rb"(?s)\A(VLMTIDX1).{16}(.{8}).{16}", rb"\1<dev,ino>\2<mtime>"),
]


def normalise(data, root):
    data = data.replace(root.encode(), b"<home>/")
    for pattern, replacement in NORMALISE:
        data = re.sub(pattern, replacement, data)
    return data


def request(path, *items):
    """Writes a request file: one [Dispensacion], or numbered sections for a batch."""
    base = {"IdFarmacia": "F0042", "IdProvincia": "48", "IdUsuario": "mostrador1", "ClaveUsuario": "demo",
            "Idioma": "es", "IdFarmaceutico": "FC0007", "FechaDispensacion": "21/11/2026",
            "CodigoDispensado": "600000", "NombreMedicamento": "Medicamento de ejemplo",
            "NombrePaciente": "Paciente de demostración", "EnvasesDispensados": "1", "Importe": "12,40",
            "ImporteAportacion": "4,96", "CodigoColegiadoPrescriptor": "4812345", "Tis": "BBBB123456",
            "FechaPrescripcion": "2026-11-10", "RegimenReceta": "1", "TipoPrescripcion": "2"}
    with open(path, "w", encoding="utf-8") as f:
        for n, item in enumerate(items, 1):
            f.write("[Dispensacion%s]\n" % (n if len(items) > 1 else ""))
            f.writelines("%s=%s\n" % kv for kv in {**base, **item}.items())
    return path


def set_ini(home, key, value):
    path = os.path.join(home, "velmora.ini")
    with open(path, "rb") as f:
        text = f.read()
    text, n = re.subn(rb"(?m)^%s=[^\r\n]*" % key.encode(), b"%s=%s" % (key.encode(), value.encode()), text)
    assert n == 1, key
    with open(path, "wb") as f:
        f.write(text)


def wait_for(condition, what):
    end = time.monotonic() + BOUND
    while not condition():
        if time.monotonic() > end:
            sys.exit("golden: gave up waiting for " + what)
        time.sleep(0.01)


def executors(home):
    """Processes working in the runtime folder: the executors the library started there."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink("/proc/%s/cwd" % pid).rstrip("/") == home.rstrip("/"):
                found.append(pid)
        except OSError:
            pass
    return found


# executor.exe in the runtime folder is this gate: it holds the real executor back until the host
# is parked in its wait (blocked writing the progress line of its first look, or polling), stops
# the host, and then becomes the real executor. Host and executor then never write the shared
# log, trace and audit files at the same time, and the host's looks at Recibidos/ no longer
# depend on how long the executor took. The real executor does all the work, with the same
# arguments and environment.
GATE = """#!%s -I
import os, signal, sys, time
host, end = os.getppid(), time.monotonic() + 30
def parked():
    call = open("/proc/%%d/syscall" %% host).read().split()
    return call[0] in ("7", "271") or call[:2] == ["1", "0x2"]
while not parked() and time.monotonic() < end:
    time.sleep(0.001)
os.kill(host, signal.SIGSTOP)
os.execv(os.environ["GOLDEN_EXECUTOR"], sys.argv)
"""


def state(pid):
    try:
        with open("/proc/%d/stat" % pid) as f:
            return f.read().rsplit(")", 1)[1].split()[0]
    except OSError:
        return "X"


class Run:
    def __init__(self, velmora, tmp, env):
        self.velmora, self.tmp, self.env, self.log = velmora, tmp, env, []
        self.home = env["VELMORA_HOME"]

    def __call__(self, step, *args, late=None):
        """Runs one velmora command; its exit code and output go into commands.txt. Standard error
        is a terminal whose output is held, so a dispensation's first progress line blocks the host
        right after its first look for the answer; it is let go once the executor has ended. With
        `late` (a condition met once the service has the request), the host is let go while the
        executor waits for the service, after the host's time-out has run out."""
        master, terminal = os.openpty()
        termios.tcflow(terminal, termios.TCOOFF)
        host = subprocess.Popen([self.velmora, *args], env=self.env, cwd=self.tmp, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=terminal)
        try:
            self.drive(host, terminal, step, late)
            out = host.communicate(timeout=BOUND)[0]
        finally:
            if host.poll() is None:  # a wait gave up: leave no stopped process behind
                host.kill()
                os.kill(host.pid, signal.SIGCONT)
                host.wait()
            os.close(master)
            os.close(terminal)
        wait_for(lambda: not executors(self.home), "the executors of " + step)
        shown = " ".join(a.replace(self.tmp, "<tmp>/") for a in args)
        self.log.append(b"== %s: velmora %s\nexit %d\n%s" % (step.encode(), shown.encode(), host.returncode, out))

    def drive(self, host, terminal, step, late):
        end = time.monotonic() + 2 * BOUND
        while host.poll() is None and time.monotonic() < end:
            if state(host.pid) == "T":  # stopped by the gate
                held = time.monotonic()
                if late:
                    wait_for(late, "the service to receive the request of " + step)
                    executor = int(executors(self.home)[0])
                    os.kill(executor, signal.SIGSTOP)
                    # The host's next look must come after its PeticionTimeOut (1 s) has run out,
                    # or the number of its looks would depend on the clock.
                    wait_for(lambda: time.monotonic() - held > 1.5, "the time-out of " + step)
                    os.kill(host.pid, signal.SIGCONT)
                    termios.tcflow(terminal, termios.TCOON)
                    host.wait(timeout=BOUND)
                    os.kill(executor, signal.SIGCONT)
                    return
                wait_for(lambda: not executors(self.home), "the executor of " + step)
                os.kill(host.pid, signal.SIGCONT)
                termios.tcflow(terminal, termios.TCOON)
            time.sleep(0.002)


def scenarios(run, home, tmp, port):
    req = lambda name, *items: request(os.path.join(tmp, name + ".ini"), *items)
    run("1 accepted", "dispense", req("accepted", {"IDPrescripcion": "RX0001"}))
    run("2 rejected", "dispense", req("rejected", {"IDPrescripcion": "RX0002", "CodigoDispensado": "sim:rejected"}))
    # Port 1 of loopback: nothing listens there, the connection is refused at once.
    set_ini(home, "Servicio", "http://127.0.0.1:1/dispensacion?wsdl")
    run("3 service down", "dispense", req("down", {"IDPrescripcion": "RX0003"}))
    set_ini(home, "Servicio", "http://127.0.0.1:%d/dispensacion?wsdl" % port)
    # The service answers two seconds after the request, the host gives up after one: the
    # internal response, and the late answer lands in Retrasados/.
    set_ini(home, "PeticionTimeOut", "1")
    received = lambda: b"sim:slow-2" in open(tmp + "/record.jsonl", "rb").read()
    run("4 slow", "dispense", req("slow", {"IDPrescripcion": "RX0004", "CodigoDispensado": "sim:slow-2"}),
        late=received)
    assert os.path.exists(home + "Retrasados/RX0004.xml"), "no late answer in Retrasados/"
    set_ini(home, "PeticionTimeOut", "5")
    # Doubled blanks inside the id (a request file trims the ends): it must reach the executor
    # as one argument and name every file.
    run("5 padded id", "dispense", req("padded", {"IDPrescripcion": "RX0005  PAD  X"}))
    run("6 printed batch", "dispense", req("batch", *({"IDPrescripcion": "RX00%d" % n, "CodigoDispensado":
                                                       "sim:batch-rejected" if n == 61 else "60000%d" % n,
                                                       "NombreMedicamento": "Medicamento %d" % n}
                                                      for n in (61, 62, 63))), "--print")
    # The pending copies of 3 and 4, before they are confirmed and dropped.
    before = snapshot(home + "Pendientes", "before-resend/Pendientes/")
    run("7 pending", "pending")
    run("7 resend", "resend", "--all")
    run("7 ack late verdict", "ack", "RX0004")
    run("7 nothing pending", "pending")
    return before


def snapshot(top, prefix):
    """Every file under `top`, hidden ones included, and a listing of modes and hidden marks."""
    files, listing = {}, []
    for folder, dirs, names in os.walk(top):
        dirs.sort()
        for name in sorted(dirs + names):
            path = os.path.join(folder, name)
            rel = os.path.relpath(path, top)
            if os.path.islink(path):
                listing.append("%s -> %s" % (rel, os.path.basename(os.readlink(path))))
                continue
            try:
                mark = os.getxattr(path, "user.DOSATTRIB").decode()
            except OSError:
                mark = "-"
            kind = "d" if os.path.isdir(path) else "f"
            listing.append("%s %s%o %s" % (rel, kind, os.lstat(path).st_mode & 0o7777, mark))
            if kind == "f":
                with open(path, "rb") as f:
                    files[prefix + rel] = f.read()
    files[prefix.rstrip("/") + ".files.txt"] = ("\n".join(listing) + "\n").encode()
    return files


def first_difference(name, expected, actual):
    exp = expected.decode("utf-8", "backslashreplace").splitlines(keepends=True)
    act = actual.decode("utf-8", "backslashreplace").splitlines(keepends=True)
    diff = list(difflib.unified_diff(exp, act, "expected/" + name, "actual/" + name, n=2))
    return "".join(diff[:40]) + ("...\n" if len(diff) > 40 else "")


def main():
    velmora, executor, simulator = map(os.path.abspath, sys.argv[1:4])
    tmp = tempfile.mkdtemp(prefix="velmora-golden-") + "/"
    home = tmp + "home/"
    # A runtime folder as a till's is set up: the build's sample ini and executor.exe (the gate).
    for folder in ("home", "gate", "data"):
        os.mkdir(tmp + folder, 0o700)
    shutil.copyfile(os.path.join(os.path.dirname(velmora), "velmora.ini"), home + "velmora.ini")
    os.chmod(home + "velmora.ini", 0o600)
    with open(tmp + "gate/executor.exe", "w") as f:
        f.write(GATE % sys.executable)
    os.chmod(tmp + "gate/executor.exe", 0o700)
    os.symlink(tmp + "gate/executor.exe", home + "executor.exe")
    env = dict(os.environ, VELMORA_HOME=home, GOLDEN_EXECUTOR=executor, VELMORA_PDF_VIEWER="", HOME=tmp,
               XDG_DATA_HOME=tmp + "data", XDG_CACHE_HOME=tmp + "cache")
    for key in ("VELMORA_PRINTER_PROGRAM", "DISPLAY"):
        env.pop(key, None)
    sim = subprocess.Popen([simulator, "--port", "0", "--port-file", tmp + "port", "--record", tmp + "record.jsonl"],
                           env=env, stdout=subprocess.DEVNULL, cwd=tmp)
    try:
        wait_for(lambda: os.path.exists(tmp + "port") and os.path.getsize(tmp + "port") > 0, "the simulator's port")
        port = int(open(tmp + "port").read())
        for key, value in (("Servicio", "http://127.0.0.1:%d/dispensacion?wsdl" % port), ("GenerarTrace", "1"),
                           ("PeticionTimeOut", "5"),  # time enough for a loaded machine
                           ("EliminarXMLPeticion", "0"), ("EliminarXMLRespuesta", "0")):  # compare them too
            set_ini(home, key, value)
        run = Run(velmora, tmp, env)
        files = scenarios(run, home, tmp, port)
        files.update(snapshot(home, "home/"))
        files.update(snapshot(tmp + "data", "data/"))  # the barcode font installed for the user
        with open(tmp + "record.jsonl", "rb") as f:
            files["simulator-record.jsonl"] = f.read()
        files["commands.txt"] = b"".join(run.log)
        actual = {name: normalise(data, home) for name, data in files.items()}
    finally:
        for pid in executors(home):  # only after a failure
            os.kill(int(pid), signal.SIGKILL)
        sim.send_signal(signal.SIGTERM)
        sim.wait(timeout=BOUND)
        if not os.environ.get("GOLDEN_KEEP"):
            shutil.rmtree(tmp, ignore_errors=True)
        else:
            print("golden: kept " + tmp)

    if os.environ.get("GOLDEN_UPDATE"):
        shutil.rmtree(EXPECTED, ignore_errors=True)
        for name, data in actual.items():
            os.makedirs(os.path.dirname(os.path.join(EXPECTED, name)), exist_ok=True)
            with open(os.path.join(EXPECTED, name), "wb") as f:
                f.write(data)
        print("golden: wrote %d expected files" % len(actual))
        return 0
    expected = {}
    for folder, _, names in os.walk(EXPECTED):
        for name in names:
            with open(os.path.join(folder, name), "rb") as f:
                expected[os.path.relpath(os.path.join(folder, name), EXPECTED)] = f.read()
    failures = []
    for name in sorted(set(expected) | set(actual)):
        if name not in actual:
            failures.append("missing: " + name + "\n")
        elif name not in expected:
            failures.append("unexpected: " + name + "\n")
        elif expected[name] != actual[name]:
            failures.append(first_difference(name, expected[name], actual[name]))
    sys.stdout.write("".join(failures) or "golden: %d files match\n" % len(actual))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
