"""The Debian package of the desk, made from this build: whole, clean, the same each time, usable.

With CORVESSA_FRESH_SYSTEM, also installed and used in a new Debian system (needs the network).
"""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

import pexpect

TOP = pathlib.Path(__file__).resolve().parents[2]
BUILD = os.environ["CORVESSA_BUILD"]
LINES = {"TERM": "dumb", "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}


def run(*command, **options):
    return subprocess.run([str(word) for word in command], text=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)


class DebTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.place = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.place)
        cls.package = cls.make("first")
        cls.root = cls.place / "root"
        subprocess.run(["dpkg-deb", "-x", cls.package, cls.root], check=True)
        cls.program = cls.root / "usr/bin/corvessa-desk"
        cls.share = cls.root / "usr/share"

    @classmethod
    def make(cls, folder):
        made = run(TOP / "packaging/linux/make.py", "--build", BUILD, "--output", cls.place / folder)
        if made.returncode != 0:
            raise AssertionError(made.stdout)
        return pathlib.Path(made.stdout.strip())

    def test_equal_programs_give_equal_packages_of_the_project_s_version(self):
        again = self.make("again")
        self.assertEqual(again.read_bytes(), self.package.read_bytes())
        version = re.search(r"^project\(corvessa VERSION ([0-9.]+)", (TOP / "CMakeLists.txt").read_text(), re.M)[1]
        self.assertEqual(run("dpkg-deb", "-f", self.package, "Version").stdout, f"{version}-1\n")
        self.assertNotIn(str(TOP).encode(), self.program.read_bytes())
        needs = run("dpkg-deb", "-f", self.package, "Depends", "Recommends").stdout
        for library in ("librnp0", "libgmime-3.0-0", "libedit2", "libcurl4", "libbotan-2-19"):
            self.assertRegex(needs, rf"\b{library}\b")

    def test_the_checkers_find_no_error(self):
        lint = run("lintian", "--allow-root", "--fail-on", "error", self.package)
        self.assertEqual((lint.returncode, re.findall("^E: .*", lint.stdout, re.M)), (0, []), lint.stdout)
        desktop = self.share / "applications/corvessa-desk.desktop"
        self.assertEqual(run("desktop-file-validate", desktop).stdout, "")
        self.assertIn("Exec=/usr/libexec/corvessa-desk/view %F\n", desktop.read_text())
        for page in (self.share / "man/man1").iterdir():
            # As lintian looks at them, in case it could not.
            warnings = run("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", page,
                           env=LINES | {"MANROFFSEQ": "", "MANWIDTH": "80"})
            self.assertNotRegex(warnings.stdout, "(?m)^.*(warning|error):")

    def test_every_command_has_a_manual_page_that_says_what_its_help_says(self):
        def words(text):
            return " ".join(re.sub(r"\x1b\[[0-9;]*m|.\x08", "", text).replace("\u2010\n", "").split())

        def commands(*before):
            shown = run(self.program, *before, "--help").stdout
            return re.findall(r"^  (\w+) ", shown.partition("\nSubcommands:\n")[2].partition("\n\n")[0], re.M)

        for command in commands():
            page = run("man", "-l", self.share / f"man/man1/corvessa-desk-{command}.1.gz",
                       env=LINES | {"MANWIDTH": "2000", "MANPAGER": "cat"}).stdout
            for call in [(command,)] + [(command, each) for each in commands(command)]:
                shown = run(self.program, *call, "--help").stdout
                lines = [shown.partition("\n")[0], *re.findall(r"^  (--\S+)", shown, re.M)]
                paragraph = shown.partition("\n\n")[2].rpartition("\n\n")[2]
                for line in lines + ([] if "Examples:" in paragraph else [paragraph]):
                    self.assertIn(words(line), words(page), call)

    def test_completion_in_bash_zsh_and_fish(self):
        for name in "draft one.eml", "folder/x":
            (self.place / name).parent.mkdir(exist_ok=True)
            (self.place / name).touch()
        bash = self.share / "bash-completion/completions/corvessa-desk"
        fish = self.share / "fish/vendor_completions.d/corvessa-desk.fish"
        for line, expected in (("k", "key"), ("key gen", "generate"), ("--profile folder list --js", "--json"),
                               ("send --outlook 1", "10 11"), ("open dra", "draft one.eml"),
                               ("open --save-attachments fo", "folder"), ("set Passphr", "PassphraseMemory"),
                               ("open --passphrase me@example.org=dra", "draft one.eml")):
            with self.subTest(line):
                words = ["corvessa-desk", *re.findall(r"=|[^ =]+", line)]
                script = (f'. "{bash}"; compopt() {{ :; }}; COMP_WORDS=({" ".join(words)}); '
                          f'COMP_CWORD={len(words) - 1}; _corvessa_desk; echo "${{COMPREPLY[*]}}"')
                self.assertEqual(run("bash", "-c", script, cwd=self.place).stdout, expected + "\n")
                found = run("fish", "--no-config", "-c", f'source "{fish}"; complete -C "corvessa-desk {line}"',
                            cwd=self.place, env=LINES | {"HOME": str(self.place)}).stdout
                offered = [re.sub("^.*=|/$", "", each.partition("\t")[0]) for each in found.splitlines()]
                self.assertEqual(" ".join(offered).replace("\\", ""), expected)
                self.assertEqual(self.complete_in_zsh(line), expected)

    def complete_in_zsh(self, line):
        """What is offered, by listing it after the line."""
        shell = pexpect.spawn("zsh", ["-f", "-i"], cwd=str(self.place), encoding="utf-8", timeout=20,
                              env=LINES | {"HOME": str(self.place)}, dimensions=(50, 200))
        shell.sendline(f"fpath=({self.share}/zsh/vendor-completions $fpath); autoload -U compinit; "
                       "compinit -D -u; unsetopt zle_bracketed_paste; PS1=; "
                       "show() { compadd() { builtin compadd -A got \"$@\"; all+=($got); builtin compadd \"$@\" }; "
                       "_main_complete; print -rl -- $all >offered }; "
                       "zle -C show list-choices show; bindkey '^I' show; echo read''y")
        shell.expect_exact("ready")
        (self.place / "offered").unlink(missing_ok=True)
        shell.send(f"corvessa-desk {line}\t")
        shell.send("\x15\necho do''ne\n")
        shell.expect_exact("done")
        shell.close(force=True)
        offered = dict.fromkeys((self.place / "offered").read_text().splitlines())
        return " ".join(each.rstrip("/").replace("\\", "") for each in offered)


@unittest.skipUnless("CORVESSA_FRESH_SYSTEM" in os.environ, "./package --test asks for it")
class FreshSystem(unittest.TestCase):
    def test_the_package_is_installed_used_and_removed(self):
        with tempfile.TemporaryDirectory() as place:
            package = pathlib.Path(run(TOP / "packaging/linux/make.py", "--build", BUILD, "--output",
                                       place).stdout.strip())
            script = pathlib.Path(__file__).with_name("use_installed.sh")
            made, install = re.search(r"^```sh install\n(.*)\nsudo (.*)\n```$",
                                      (TOP / "docs/guide.md").read_text(), re.M).groups()
            self.assertEqual(made, "./package --deb")
            (pathlib.Path(place) / "install.sh").write_text(install + " --yes --no-install-recommends\n")
            done = run("mmdebstrap", "--variant=apt", "--customize-hook=mkdir $1/opt/dist",
                       f"--customize-hook=copy-in {package} /opt/dist",
                       f"--customize-hook=copy-in {place}/install.sh {script} /opt",
                       f'--customize-hook=chroot "$1" sh /opt/{script.name}', "bookworm", "/dev/null",
                       "/etc/apt/sources.list.d/debian.sources")
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertIn("\nall done\n", done.stdout)


if __name__ == "__main__":
    unittest.main()
