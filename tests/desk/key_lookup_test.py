"""Looking keys up over TLS: the Web Key Directory and key servers, with a certificate authority of the
test. The desk reaches every host through a proxy, so names and ports are the real ones."""

import pathlib
import socket
import ssl
import subprocess
import tempfile
import threading
import unittest

from desk_case import ALICE, BOB, DeskCase

DOMAIN = BOB.split("@")[1]
ADVANCED, SERVER, ELSEWHERE = f"openpgpkey.{DOMAIN}", "keys.example.net", "elsewhere.example.net"
HASH = "jycbiujnsxs47xrkethgtj69xuunurok"
IN_ADVANCED = f"/.well-known/openpgpkey/{DOMAIN}/hu/{HASH}?l=bob"
IN_DIRECT = f"/.well-known/openpgpkey/hu/{HASH}?l=bob"
ON_SERVER = "/pks/lookup?op=get&options=mr&exact=on&search=bob%40example.com"
HOSTS = (ADVANCED, DOMAIN, SERVER, ELSEWHERE)
OVERSIZED = 64 << 20


class Authority:
    """Makes certificates, each a file of key and certificate."""

    def __init__(self, folder, name):
        self.folder = folder / name
        self.folder.mkdir()
        self.file = self.folder / "authority.pem"
        self.openssl("req", "-x509", "-subj", f"/CN={name}", "-out", self.file, "-keyout",
                     self.folder / "key.pem")

    @staticmethod
    def openssl(command, *arguments):
        subprocess.run(["openssl", command, "-nodes", "-newkey", "ec", "-pkeyopt",
                        "ec_paramgen_curve:prime256v1", "-days", "2", *arguments],
                       check=True, capture_output=True)

    def certificate(self, host):
        path = self.folder / f"{host}.pem"
        self.openssl("req", "-x509", "-subj", f"/CN={host}", "-addext", f"subjectAltName=DNS:{host}",
                     "-addext", "basicConstraints=critical,CA:FALSE", "-CA", self.file,
                     "-CAkey", self.folder / "key.pem", "-keyout", path, "-out", path.with_suffix(".crt"))
        path.write_bytes(path.read_bytes() + path.with_suffix(".crt").read_bytes())
        return path


class Network:
    """A proxy that is every host itself: `certificates` by host, `answers` by host and path."""

    def __init__(self, certificates, answers):
        self.certificates, self.answers = certificates, answers
        self.asked, self.taken = set(), {}
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        try:
            while True:
                threading.Thread(target=self.serve, args=(self.listener.accept()[0],), daemon=True).start()
        except OSError:
            pass

    @staticmethod
    def head(connection):
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            head += connection.recv(1) or b"\r\n\r\n"
        return head.decode().split()

    def serve(self, connection):
        verb, target = self.head(connection)[:2]
        host, port = target.rsplit(":", 1)
        if (verb, port) != ("CONNECT", "443") or host not in self.certificates:
            self.asked.add((verb, target))
            return connection.close()
        connection.sendall(b"HTTP/1.1 200 OK\r\n\r\n")
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.certificates[host])
        try:
            with context.wrap_socket(connection, server_side=True) as secure:
                path = self.head(secure)[1]
                self.asked.add((host, path))
                status, body = self.answers.get((host, path), (b"404 No", b""))
                secure.sendall(b"HTTP/1.0 " + status + b"\r\n\r\n" + body)
                self.taken[host] = len(body)
        except (OSError, IndexError):  # the desk has hung up
            pass


class KeyLookup(DeskCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = pathlib.Path(tempfile.mkdtemp(dir=cls.template))
        cls.authority, other = Authority(folder, "Test"), Authority(folder, "Other")
        cls.good = {host: cls.authority.certificate(host) for host in HOSTS}
        cls.forged = {host: other.certificate(host) for host in HOSTS}
        cls.keys = {}
        for name in ("alice", "bob"):
            dearmoured = subprocess.run(["gpg", "--dearmor"], check=True, capture_output=True,
                                        input=(cls.template / f"{name}.asc").read_bytes())
            cls.keys[name] = dearmoured.stdout
        cls.at(cls.template / "alice", "key", "remove", BOB, "--yes")
        cls.armoured = (cls.template / "bob.asc").read_bytes()

    def sends(self, servers, answers, certificates=None, authority=None):
        """Whether Alice, who has no key of Bob, can encrypt to him; and what was asked over TLS."""
        network = Network(certificates or self.good, answers)
        self.addCleanup(network.listener.close)
        environment = {"PATH": "/usr/bin:/bin", "https_proxy": f"http://127.0.0.1:{network.port}",
                       "http_proxy": f"http://127.0.0.1:{network.port}",
                       "SSL_CERT_FILE": str(authority or self.authority.file)}
        self.assertDone(self.alice("set", "EngineLookupServer", servers, env=environment))
        draft = self.draft(files={})
        report = self.alice("send", draft, "--json", "--out", self.folder / "sent.eml",
                            env=environment).json()
        self.network = network
        return report["sent"] and report["encrypted"] and BOB in report["recipients"]

    def test_the_directory_is_asked_in_both_places(self):
        key = (b"200 OK", self.keys["bob"])
        for place in ((ADVANCED, IN_ADVANCED), (DOMAIN, IN_DIRECT)):
            with self.subTest(place):
                self.assertTrue(self.sends("wkd", {place: key}))
                self.assertEqual(self.network.asked, {(ADVANCED, IN_ADVANCED), (DOMAIN, IN_DIRECT)})
        self.assertTrue(self.sends(f"hkps://{SERVER}", {(SERVER, ON_SERVER): (b"200 OK", self.armoured)}))
        self.assertEqual(self.network.asked, {(SERVER, ON_SERVER)})

    def test_nothing_else_is_believed(self):
        ok, elsewhere = b"200 OK", b"302 Found\r\nLocation: https://" + ELSEWHERE.encode() + b"/"
        everywhere = {(ADVANCED, IN_ADVANCED): (ok, self.keys["bob"]),
                      (DOMAIN, IN_DIRECT): (ok, self.keys["bob"]),
                      (SERVER, ON_SERVER): (ok, self.armoured)}
        cases = {
            "another authority": (everywhere, self.forged, None),
            "an authority that is not trusted": (everywhere, None, "/dev/null"),
            "another host's certificate": (
                everywhere, dict.fromkeys(HOSTS, self.good[ELSEWHERE]), None),
            "another address's key": (
                {place: (ok, self.keys["alice"]) for place in everywhere}, None, None),
            "a redirect": ({**{place: (elsewhere, b"") for place in everywhere},
                            (ELSEWHERE, "/"): (ok, self.armoured)}, None, None),
            "an oversized answer": (
                {place: (ok, bytes(OVERSIZED) + self.keys["bob"]) for place in everywhere}, None, None),
            "an error page": ({place: (b"404 No", self.armoured) for place in everywhere}, None, None)}
        for what, (answers, certificates, authority) in cases.items():
            for servers in ("wkd", f"hkps://{SERVER}"):
                with self.subTest(what, servers=servers):
                    self.assertFalse(self.sends(servers, answers, certificates, authority))
                    self.assertNotIn(ELSEWHERE, {host for host, _ in self.network.asked})
                    self.assertNotIn(OVERSIZED, self.network.taken.values())
                    if certificates or authority:
                        self.assertEqual(self.network.asked, set())


if __name__ == "__main__":
    unittest.main()
