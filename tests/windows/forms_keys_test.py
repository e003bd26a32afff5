"""Keys that an X server delivers, in the add-in's windows: what they do to the models."""
import os
import pathlib
import re
import runpy
import subprocess
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
gallery = runpy.run_path(str(TOP / "gallery"))


class KeysCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        display = gallery["display"]()
        name = display.__enter__()
        cls.addClassCleanup(display.__exit__, None, None, None)
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        prefix = folder.name + "/prefix"
        cls.environment = dict(os.environ, WINE_RUN_DISPLAY=name, DISPLAY=name,
                               WINE_RUN_PREFIX=prefix)
        cls.addClassCleanup(subprocess.run, ["wineserver", "-k"],
                            env=dict(cls.environment, WINEPREFIX=prefix), check=False)

    def open(self, form):
        self.program = subprocess.Popen(
            [TOP / "tools/wine-run.sh", gallery["PROGRAM"], "watch", form], text=True,
            stdout=subprocess.PIPE, env=self.environment)
        self.addCleanup(self.program.wait)
        self.addCleanup(self.program.stdout.close)
        return self.state()

    def state(self):
        """The model after the next change; "closed" when the form is."""
        lines = []
        for line in self.program.stdout:
            if line.strip() == ".":
                return "\n".join(lines)
            lines.append(line.rstrip())
        self.fail("the program has ended")

    def keys(self, *keys, until=None):
        """The model after the keys have changed it, or have brought it to that state."""
        subprocess.run(["xdotool", "key", "--clearmodifiers", *keys], env=self.environment,
                       check=True)
        state = self.state()
        while until and not re.search(until, state):
            state = self.state()
        return state

    def focus(self, state):
        return re.findall(r"(\S+) \[.*focus$", state, re.MULTILINE)

    def test_a_passphrase_is_typed_and_accepted(self):
        self.open("login")
        for _ in range(3):
            state = self.keys("x")
        self.assertIn('txtPassword [112 123 281 21] "***"', state)
        self.assertEqual(self.focus(self.keys("Tab")), ["cmdOK"])
        self.keys("Return", until="^closed")

    def test_keys_that_close_a_form(self):
        for form, key in (("login", "Escape"), ("about", "alt+o"), ("html-warning", "alt+s"),
                          ("no-keys-found", "alt+n"), ("message", "Return")):
            with self.subTest(form=form, key=key):
                self.open(form)
                self.keys(key, until="^closed")
                self.doCleanups()

    def test_every_control_is_reached_and_each_box_has_its_key(self):
        state = self.open("settings")
        reached = []
        while len(reached) < 12 and "tbsTabs" not in reached:
            state = self.keys("Tab")
            reached += self.focus(state)
        self.assertEqual(reached, [
            "lstvwAliases", "cmdAdd", "cmdRemove", "cmdProperties", "chkDecryptAndVerifyIncoming",
            "chkSignOutgoing", "chkEncryptOutgoing", "cmdOK", "cmdHelp", "cmdAbout", "cmdTools",
            "tbsTabs"])
        for key, box in (("i", "chkDecryptAndVerifyIncoming"), ("s", "chkSignOutgoing"),
                         ("e", "chkEncryptOutgoing")):
            before = re.search(box + r".*\[(.)\]", state).group(1)
            after = " " if before == "x" else "x"
            state = self.keys("alt+" + key, until=box + r".*\[" + after + r"\] focus")
        self.keys("ctrl+Tab", until='>"Options"')
        # Two controls share this one: it only goes to them.
        self.assertEqual(self.focus(self.keys("alt+b")), ["chkLogDebuggingInfo"])
        self.assertEqual(self.focus(self.keys("alt+b")), ["cmdAbout"])
        self.keys("alt+o", until="^closed")


if __name__ == "__main__":
    unittest.main()
