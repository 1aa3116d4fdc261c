"""The hook script's private folder: for marks, and for its compiled form."""
import marshal
import os
import stat
import sys
import unittest
from _imp import source_hash

from hook_script_support import SCRIPT, HookTest, event


class PrivateFolder(HookTest):
    def test_is_for_its_owner_alone(self):
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        folder = self.folder / "vantry-hook"
        self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o700)
        for path in folder.rglob("*"):
            self.assertEqual(stat.S_IMODE(path.stat().st_mode) & 0o077, 0, path)

    def test_lies_under_the_temporary_folder_where_there_is_no_runtime_folder(self):
        del self.environment["XDG_RUNTIME_DIR"]
        self.environment["TMPDIR"] = str(self.folder)
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertTrue((self.folder / ("vantry-hook-%d/s-1" % os.getuid())).is_dir())

    def test_lies_in_no_runtime_folder_of_somebody_else(self):
        theirs = self.folder / "theirs"
        if os.geteuid() == 0:
            theirs.mkdir(mode=0o777)
            os.chown(theirs, 4711, 4711)
        self.environment.update(XDG_RUNTIME_DIR=str(theirs), TMPDIR=str(self.folder))
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertTrue((self.folder / ("vantry-hook-%d/s-1" % os.geteuid())).is_dir())

    def test_is_refused_when_others_may_enter_it(self):
        folder = self.folder / "vantry-hook"
        folder.mkdir()
        folder.chmod(0o755)
        self.delivered(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertEqual(list(folder.iterdir()), [])

    def test_is_refused_when_it_is_a_link(self):
        (self.folder / "elsewhere").mkdir(mode=0o700)
        (self.folder / "vantry-hook").symlink_to(self.folder / "elsewhere")
        self.delivered(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertEqual(list((self.folder / "elsewhere").iterdir()), [])

    def test_session_identifiers_lead_nowhere_else(self):
        for session in ("../../x", "/x", "", ".", "..", "a/b", "a\0b", "\ud800", "é", "x" * 5000):
            with self.subTest(session[:20]):
                self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}, session_id=session))
                self.run_hook(event("Notification", notification_type="permission_prompt", session_id=session))
        self.assertEqual([posted["hook_event_name"] for posted in self.listener.bodies()], ["PreToolUse"] * 10)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["vantry-hook"])

    def kept_code(self):
        return [path for path in (self.folder / "vantry-hook").iterdir() if path.is_file()]

    def test_keeps_the_compiled_script_once(self):
        self.delivered(event("Stop"))
        kept = self.kept_code()
        before = kept[0].stat()
        self.delivered(event("Stop"))
        self.assertEqual([path.stat().st_ino for path in self.kept_code()], [before.st_ino])

    def test_compiles_only_what_an_event_needs(self):
        self.delivered(event("Stop"))
        self.assertEqual(len(self.kept_code()), 1)
        self.delivered(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertEqual(len(self.kept_code()), 2)

    def test_compiles_again_when_the_kept_form_is_broken(self):
        self.delivered(event("Stop"))
        whole = self.kept_code()[0].read_bytes()
        for broken in (b"", b"\0", whole[:1000], whole[:-1], whole.replace(b"utf-8", b"utf-9"), marshal.dumps(None)):
            self.kept_code()[0].write_bytes(broken)
            self.delivered(event("Stop"))
            self.assertEqual(self.kept_code()[0].read_bytes(), whole)

    def test_runs_no_kept_form_from_a_folder_that_others_may_enter(self):
        self.delivered(event("Stop"))
        foreign = marshal.dumps(compile("import os; os.write(1, b'foreign'); os._exit(3)", "foreign", "exec"))
        self.kept_code()[0].write_bytes(source_hash(sys.hexversion, foreign) + foreign)
        (self.folder / "vantry-hook").chmod(0o755)
        self.delivered(event("Stop"))

    def test_keeps_a_compiled_form_for_each_version_of_the_script(self):
        self.delivered(event("Stop"))
        newer = self.folder / "newer.py"
        newer.write_text(SCRIPT.read_text().replace("ANSWER_LIMIT = 16", "ANSWER_LIMIT = 17"))
        self.delivered(event("Stop"), script=newer)
        self.assertEqual(len(self.kept_code()), 2)


if __name__ == "__main__":
    unittest.main()
