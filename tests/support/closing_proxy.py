"""A CONNECT proxy for tests: 407 and close (no Connection: close) unless Basic credentials match."""
import base64, contextlib, socket, sys, threading

port, user, password, record = int(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4]
expected = "Basic " + base64.b64encode(f"{user}:{password}".encode()).decode()
lock = threading.Lock()


def note(line):
    with lock, open(record, "a") as f:
        f.write(line + "\n")


def pump(a, b):
    try:
        with contextlib.suppress(OSError):
            while data := a.recv(65536):
                b.sendall(data)
    finally:
        for s in (a, b):
            with contextlib.suppress(OSError):
                s.shutdown(socket.SHUT_RDWR)


def serve(conn):
    head = b""
    while b"\r\n\r\n" not in head:
        chunk = conn.recv(4096)
        if not chunk:
            return conn.close()
        head += chunk
    lines = head.split(b"\r\n\r\n")[0].decode("latin-1").split("\r\n")
    method, target = lines[0].split(" ")[:2]
    auth = [l.split(":", 1)[1].strip() for l in lines[1:] if l.lower().startswith("proxy-authorization:")]
    if method != "CONNECT" or auth != [expected]:
        note("407")
        conn.sendall(b"HTTP/1.1 407 Proxy Authentication Required\r\n"
                     b"Proxy-Authenticate: Basic realm=\"test\"\r\nContent-Length: 0\r\n\r\n")
        return conn.close()
    host, p = target.rsplit(":", 1)
    upstream = socket.create_connection((host, int(p)))
    note("200 " + target)
    conn.sendall(b"HTTP/1.1 200 Connection established\r\n\r\n")
    threading.Thread(target=pump, args=(upstream, conn), daemon=True).start()
    pump(conn, upstream)


listener = socket.create_server(("127.0.0.1", port), backlog=16)  # SO_REUSEADDR, as on every POSIX system
while True:
    c, _ = listener.accept()
    threading.Thread(target=serve, args=(c,), daemon=True).start()
