"""The friend of docs/guide.md who has Thunderbird, with the real one. ./package --test runs this.

Thunderbird is driven by its own remote protocol, Marionette: commands are JSON after their length.
"""

import json
import mailbox
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time
import unittest
from email.message import EmailMessage

DESK = os.environ["CORVESSA_DESK"]
YOU, FRIEND = "you@example.org", "friend@example.com"
TEXT = "Come at eight. Grüße.\nThe key is under the third flowerpot.\n"
PREFERENCES = {"app.update.enabled": False, "mail.accounthub.enabled": False,
               "mail.provider.suppress_dialog_on_startup": True, "mail.rights.version": 1,
               "mail.shell.checkDefaultClient": False, "mail.spotlight.firstRunDone": True,
               "mailnews.start_page.enabled": False,
               "datareporting.policy.dataSubmissionPolicyBypassNotification": True}
MODULES = """
const load = (name, file) => ChromeUtils.importESModule(file)[name];
const openpgp = "chrome://openpgp/content/";
const {RNP} = ChromeUtils.importESModule(openpgp + "modules/RNP.sys.mjs");
const {EnigmailKeyRing} = ChromeUtils.importESModule(openpgp + "modules/keyRing.sys.mjs");
const {MailServices} = ChromeUtils.importESModule("resource:///modules/MailServices.sys.mjs");
await load("BondOpenPGP", openpgp + "BondOpenPGP.sys.mjs").init();
const top = Services.wm.getMostRecentWindow("mail:3pane");
const until = async (find) => {
  for (let i = 0; i < 150; ++i) {
    const found = await find();
    if (found) return found;
    await new Promise((resolve) => top.setTimeout(resolve, 200));
  }
  throw new Error("waited in vain for " + find);
};
"""
MAKE_KEY = """
const password = await load("OpenPGPMasterpass", openpgp + "modules/masterpass.sys.mjs").retrieveOpenPGPPassword();
const id = await RNP.genKey("Friend <friend@example.com>", "ECC", 0, 0, password);
EnigmailKeyRing.clearCache();
return [id, await RNP.getPublicKey("0x" + id)];
"""
ACCEPT_KEY = """
const taken = await RNP.importPubkeyBlockAutoAcceptImpl(null, arguments[0], "verified");
EnigmailKeyRing.clearCache();
return taken.importedKeys.length;
"""
READ = """
const file = Cc["@mozilla.org/file/local;1"].createInstance(Ci.nsIFile);
file.initWithPath(arguments[0]);
load("MailUtils", "resource:///modules/MailUtils.sys.mjs").openEMLFile(top, file, Services.io.newFileURI(file));
const page = () => Services.wm.getMostRecentWindow("mail:messageWindow")?.messageBrowser?.contentWindow ??
  top.document.getElementById("tabmail").currentTabInfo.chromeBrowser?.contentWindow;
const text = () => page()?.getMessagePaneBrowser?.()?.contentDocument?.querySelector("[class^=moz-text]")?.innerText;
await until(() => text() && page().document.getElementById("expandedsubjectBox").textContent.includes(arguments[1]));
const button = () => page().document.querySelector(".notification-button");
await until(() => !text().includes("BEGIN PGP") || button());
const pressed = text().includes("BEGIN PGP");
// Opens the text in a window of its own.
if (pressed) button().click();
await until(() => text()?.trim() && !text().includes("BEGIN PGP"));
const icon = (name) => {
  const found = page().document.getElementById(name);
  return found.hidden ? "" : found.src.replace(/.*\\//, "");
};
await until(() => icon("encryptedHdrIcon"));
return [text(), icon("encryptedHdrIcon"), icon("signedHdrIcon"), pressed];
"""
WRITE = """
MailServices.accounts.createLocalMailAccount();
const account = MailServices.accounts.createAccount();
account.incomingServer = MailServices.accounts.createIncomingServer("friend", "localhost", "pop3");
const identity = MailServices.accounts.createIdentity();
identity.email = "friend@example.com";
identity.fullName = "Friend";
identity.composeHtml = false;
identity.doFcc = false;
identity.setUnicharAttribute("openpgp_key_id", arguments[0]);
account.addIdentity(identity);
const server = MailServices.outgoingServer.createServer("smtp");
server.QueryInterface(Ci.nsISmtpServer).hostname = "localhost";
identity.smtpServerKey = server.key;
const create = (name, type) => Cc["@mozilla.org/messengercompose/" + name + ";1"].createInstance(type);
const parameters = create("composeparams", Ci.nsIMsgComposeParams);
parameters.composeFields = create("composefields", Ci.nsIMsgCompFields);
parameters.composeFields.to = "Your Name <you@example.org>";
parameters.composeFields.subject = "Sunday";
parameters.composeFields.body = arguments[1];
parameters.identity = identity;
parameters.format = Ci.nsIMsgCompFormat.PlainText;
MailServices.compose.OpenComposeWindowWithParams(null, parameters);
const compose = await until(() => {
  const found = Services.wm.getMostRecentWindow("msgcompose");
  return found?.gMsgCompose && found.composeEditorReady && found;
});
compose.gSelectedTechnologyIsPGP = compose.gSendEncrypted = compose.gSendSigned = true;
compose.GenericSendMessage(Ci.nsIMsgCompDeliverMode.Later);
await until(() => compose.closed);
return true;
"""


class Thunderbird:
    def __init__(self, test, home):
        profile = home / "profile"
        profile.mkdir()
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        settings = PREFERENCES | {"marionette.port": port}
        (profile / "user.js").write_text("".join(
            f"user_pref({json.dumps(name)}, {json.dumps(value)});\n" for name, value in settings.items()))
        log = open(home / "log", "w")
        program = subprocess.Popen(
            ["xvfb-run", "-a", "thunderbird", "--marionette", "--remote-allow-system-access", "--no-remote",
             "--profile", profile], env=os.environ | {"HOME": str(home), "LC_ALL": "C.UTF-8"},
            stdout=log, stderr=log, start_new_session=True)
        test.addCleanup(program.wait)
        test.addCleanup(os.killpg, program.pid, 15)
        test.addCleanup(log.close)
        self.number, connection = 0, self.connect(port)
        test.addCleanup(connection.close)
        self.stream = connection.makefile("rwb")
        test.addCleanup(self.stream.close)
        self.receive()
        self.send("WebDriver:NewSession", {})
        self.send("WebDriver:SetTimeouts", {"script": 60000})
        self.send("Marionette:SetContext", {"value": "chrome"})
        self.run("await until(() => top?.document.getElementById('tabmail')?.currentTabInfo); return true;")

    @staticmethod
    def connect(port):
        for _ in range(240):
            try:
                return socket.create_connection(("127.0.0.1", port), timeout=90)
            except OSError:
                time.sleep(0.5)
        raise AssertionError("Thunderbird does not start")

    def receive(self):
        length = b""
        while (digit := self.stream.read(1)) != b":":
            length += digit
        return json.loads(self.stream.read(int(length)))

    def send(self, command, parameters):
        self.number += 1
        message = json.dumps([0, self.number, command, parameters]).encode()
        self.stream.write(b"%d:%s" % (len(message), message))
        self.stream.flush()
        _, _, error, result = self.receive()
        if error:
            raise AssertionError(error)
        return result

    def run(self, script, *arguments):
        wrapped = ("const done = arguments[arguments.length - 1]; (async function() {" + MODULES + script +
                   "}).apply(null, arguments).then(done, (error) => done({failed: error + error.stack}));")
        result = self.send("WebDriver:ExecuteAsyncScript",
                           {"script": wrapped, "args": arguments, "newSandbox": True})["value"]
        if isinstance(result, dict):
            raise AssertionError(result["failed"])
        return result


class ThunderbirdTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.place, ignore_errors=True)
        (self.place / "passphrase").write_text("correct horse battery\n")

    def desk(self, *arguments):
        done = subprocess.run([DESK, "--profile", self.place / "desk", *arguments], cwd=self.place, text=True,
                              capture_output=True, stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 0, done.stderr + done.stdout)
        return done.stdout

    def send(self, subject, files=(), *options):
        mail = EmailMessage()
        mail["From"], mail["To"], mail["Subject"] = f"Your Name <{YOU}>", f"Friend <{FRIEND}>", subject
        mail.set_content(TEXT)
        for name in files:
            mail.add_attachment(b"a;b\n", "text", "csv", filename=name)
        (self.place / "draft.eml").write_bytes(mail.as_bytes())
        sent = self.place / f"{subject}.eml"
        self.desk("send", "draft.eml", "--out", sent, "--passphrase", f"{YOU}=passphrase", *options)
        return str(sent)

    def test_mail_in_both_directions_is_read_and_its_signature_good(self):
        friend = Thunderbird(self, self.place)
        key, public = friend.run(MAKE_KEY)
        (self.place / "friend.asc").write_text(public)
        self.desk("key", "generate", YOU, "--name", "Your Name", "--passphrase-file", "passphrase")
        self.desk("account", "add", YOU, "--sign")
        self.desk("key", "import", "friend.asc")
        self.assertEqual(friend.run(ACCEPT_KEY, self.desk("key", "export", YOU)), 1)

        lock, seal = "message-encrypted-ok.svg", "message-signed-verified.svg"
        for subject, files, options, expected in (("both", (), (), [lock, seal, False]),
                                                  ("encrypted", (), ("--no-sign",), [lock, "", False]),
                                                  ("files", ("t.csv",), (), [lock, "", True])):
            text, *shown = friend.run(READ, self.send(subject, files, *options), subject)
            self.assertEqual((text.rstrip("\n"), shown), (TEXT.rstrip("\n"), expected))

        self.assertTrue(friend.run(WRITE, key, "I will bring the cake. Grüße.\n"))
        [outbox] = self.place.glob("profile/Mail/*/Unsent Messages")
        sent_later = mailbox.mbox(outbox)
        self.addCleanup(sent_later.close)
        [written] = sent_later
        (self.place / "received.eml").write_bytes(written.as_bytes())
        opened = json.loads(self.desk("open", "received.eml", "--json", "--passphrase", f"{YOU}=passphrase"))
        self.assertEqual((opened["decryptStatus"], opened["signStatus"], opened["signers"], opened["subject"]),
                         (0, 0, [FRIEND], "Sunday"))
        self.assertIn("I will bring the cake. Grüße.", opened["body"])


if __name__ == "__main__":
    unittest.main()
