"""Keys that an X server delivers, in the add-in's windows: what they do to the models."""
import pathlib
import re
import runpy
import subprocess
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
gallery = runpy.run_path(str(TOP / "gallery"))

STOPS = {"CheckBox", "ComboBox", "CommandButton", "ListBox", "ListView", "OptionButton", "TabStrip",
         "TextBox"}
HELP = {"settings": "cmdHelp", "add-address": "cmdAddInstructions"}


def controls(state):
    """Type, name and the rest of each control that is seen."""
    found = re.findall(r"^  (\S+) (\S+) \[[-\d ]+\] ?(.*)$", state, re.MULTILINE)
    return [one for one in found if not re.search(r' hidden( disabled)?( focus)?$', one[2])]


def access_keys(state):
    """The keys, each with the names of its buttons."""
    keys = {}
    for kind, name, rest in controls(state):
        key = re.match(r'"[^"]*?&(\w)', rest)
        if key and kind in STOPS:
            keys.setdefault(key.group(1).lower(), []).append(name)
    return keys


def tab_stops(state):
    """In their order; of option buttons of one name the selected one, or else the first."""
    stops = {}
    for kind, name, rest in controls(state):
        if kind in STOPS and (name.split("(")[0] not in stops or "(o)" in rest):
            stops[name.split("(")[0]] = name
    return list(stops.values())


def focus(state):
    return re.findall(r"^  \S+ (\S+) .*focus$", state, re.MULTILINE)


class KeysCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        session = gallery["session"]()
        cls.environment = session.__enter__()
        cls.addClassCleanup(session.__exit__, None, None, None)

    def show(self, *arguments):
        self.forms = gallery["Forms"](self.environment, *arguments)
        self.addCleanup(self.forms.program.wait)
        self.addCleanup(self.forms.program.stdout.close)
        self.addCleanup(self.forms.program.stdin.close)
        return iter(self.forms)

    def keys(self, *keys, until=""):
        """What the program writes after these keys, up to what matches."""
        subprocess.run(["xdotool", "key", "--clearmodifiers", *keys], env=self.environment,
                       check=True)
        state = self.forms.state()
        while not re.search(until, state, re.MULTILINE):
            state = self.forms.state()
        return state

    def press_access_keys(self, state):
        for key, names in access_keys(state).items():
            if len(names) == 1:
                self.keys("alt+" + key, until=f"^pressed {re.escape(names[0])}$")
                continue
            # A key that controls share only goes to them.
            reached = [focus(self.keys("alt+" + key, until="focus$"))[0] for _ in names]
            self.assertCountEqual(reached, names)

    def test_every_form_is_worked_by_its_keys_alone(self):
        pressed = 0
        for picture, _, _ in self.show("--inert"):
            if picture == "toolbar-button":
                continue
            with self.subTest(picture):
                state = self.forms.state()
                self.press_access_keys(state)
                pressed += len(access_keys(state))
                if picture in HELP:
                    self.keys("F1", until="^pressed " + HELP[picture])
                stops = tab_stops(state)
                if len(stops) < 2:
                    continue
                # Once around from wherever the last key led.
                start = focus(self.keys("Tab", until="focus$"))[0]
                around = [start] + [focus(self.keys("Tab", until="focus$"))[0] for _ in stops]
                self.assertEqual(around[0], around[-1])
                first = around.index(stops[0])
                self.assertEqual(around[first:-1] + around[:first], stops)
                self.assertEqual(focus(self.keys("shift+Tab", until="focus$"))[0], around[-2])
        self.assertGreater(pressed, 40)

    def closes(self, form, *keys):
        """Keys that end a form whose handlers run."""
        next(self.show(form))
        self.forms.state()
        subprocess.run(["xdotool", "key", "--clearmodifiers", *keys], env=self.environment,
                       check=True)
        self.assertEqual(self.forms.program.wait(), 0)
        self.doCleanups()

    def test_keys_that_close_a_form(self):
        for form, keys in (("login", ["Escape"]), ("login", ["x", "Return"]), ("about", ["alt+o"]),
                           ("html-warning", ["alt+s"]), ("no-keys-found", ["alt+n"]),
                           ("message", ["Return"]), ("settings", ["alt+F4"])):
            with self.subTest(form=form, keys=keys):
                self.closes(form, *keys)

    def test_logging_in_with_another_address(self):
        next(self.show("login-again"))
        self.assertEqual(focus(self.forms.state()), ["txtPassword"])
        self.keys("s", "e", "c", until=r'txtPassword .* "\*\*\*" focus')
        self.keys("shift+Tab", until="cmbUsers .* focus")
        self.keys("Down", until='>"office@example.org"')
        self.keys("Tab", "Tab", until='cmdOK .* "&Ok" default focus')
        self.keys("BackSpace", "shift+Tab", "BackSpace", until=r'cmdOK .* default disabled')

    def test_choosing_in_the_settings(self):
        next(self.show("settings"))
        self.forms.state()
        self.keys("ctrl+Tab", until='>"Options"')
        self.keys("Tab", "Tab", "Tab", until=r"optRemember\(0\) .* focus")
        self.keys("Down", until=r'optRemember\(1\) .*\(o\) focus')
        self.keys("Tab", until=r"optForgetWhen\(\d\) .* focus")
        self.keys("Down", until=r'optForgetWhen\(\d\) .*\(o\) focus')
        self.keys("Tab", "7", until=r'txtForgetWhen .* "7" focus')


if __name__ == "__main__":
    unittest.main()
