"""The hook script in the place of the agent's own `git worktree`."""
import os
import subprocess
import unittest

from hook_script_support import PATIENCE, HookTest


class WorktreeTest(HookTest):
    def setUp(self):
        super().setUp()
        self.environment.update(HOME=str(self.folder), GIT_CONFIG_NOSYSTEM="1")
        self.repository = (self.folder / "repo").resolve()
        self.repository.mkdir()
        self.git("init", "-q", "-b", "main")
        self.commit("first")

    def git(self, *arguments, cwd=None):
        identity = ("-c", "user.name=t", "-c", "user.email=t@e")
        return subprocess.run(["git", *identity, *arguments], cwd=cwd or self.repository, env=self.environment,
                              check=True, capture_output=True, text=True).stdout

    def commit(self, name, cwd=None):
        (cwd or self.repository).joinpath(name).write_text(name)
        self.git("add", "-A", ":!.claude", cwd=cwd)
        self.git("commit", "-qm", name, cwd=cwd)

    def branches(self):
        return self.git("branch", "--format=%(refname:short)").split()

    def hook(self, **event):
        """(printed, said) of a run, whose event arrived."""
        event.setdefault("session_id", "s-1")
        process = self.start(event)
        printed, said = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 0)
        self.assertEqual(self.listener.next().event["hook_event_name"], event["hook_event_name"])
        return os.fsdecode(printed), os.fsdecode(said)

    def create(self, name="wt", cwd=None):
        return self.hook(hook_event_name="WorktreeCreate", name=name, cwd=str(cwd or self.repository))

    def remove(self, path):
        return self.hook(hook_event_name="WorktreeRemove", cwd=str(path), worktree_path=str(path))

    def place(self, name="wt", cwd=None):
        return (cwd or self.repository) / ".claude/worktrees" / name


class Create(WorktreeTest):
    def test_makes_the_tree_and_prints_its_path(self):
        self.assertEqual(self.create(), (str(self.place()) + "\n", ""))
        self.assertEqual((self.place() / "first").read_text(), "first")
        self.assertEqual(self.git("branch", "--show-current", cwd=self.place()), "worktree-wt\n")

    def test_takes_names_with_folders_blanks_and_accents(self):
        for name in ("feature/x", "é"):
            self.assertEqual(self.create(name)[0], str(self.place(name)) + "\n")

    def test_works_below_the_top_of_the_repository(self):
        below = self.repository / "below"
        below.mkdir()
        self.assertEqual(self.create(cwd=below)[0], str(self.place(cwd=below)) + "\n")
        self.assertTrue((self.place(cwd=below) / "first").exists())

    def test_works_inside_another_worktree(self):
        self.create("outer")
        outer = self.place("outer")
        self.assertEqual(self.create("inner", cwd=outer)[0], str(self.place("inner", outer)) + "\n")

    def test_gives_a_tree_that_is_there_again(self):
        self.create()
        (self.place() / "mine").write_text("unsaved")
        self.assertEqual(self.create()[0], str(self.place()) + "\n")
        self.assertEqual((self.place() / "mine").read_text(), "unsaved")

    def test_takes_up_a_branch_that_is_there(self):
        self.git("branch", "worktree-wt")
        self.commit("second")
        self.assertEqual(self.create()[0], str(self.place()) + "\n")
        self.assertFalse((self.place() / "second").exists())

    def test_makes_a_tree_again_that_was_deleted_by_hand(self):
        self.create()
        subprocess.run(["rm", "-rf", self.place()], check=True)
        self.assertEqual(self.create()[0], str(self.place()) + "\n")
        self.assertTrue((self.place() / "first").exists())

    def test_is_not_misled_by_inherited_git_variables(self):
        self.environment["GIT_DIR"] = "/nonexistent"
        printed, _ = self.create()
        del self.environment["GIT_DIR"]
        self.assertEqual(printed, str(self.place()) + "\n")

    def test_refuses_names_that_lead_elsewhere(self):
        before = self.git("worktree", "list")
        for name in ("..", "../x", "a/../../x", "/tmp/x", "-f", "", ".", "a//b", "a/", "a\nb", "a\x1bb", ".git",
                     "a/.GIT", 5, None, ["x"]):
            with self.subTest(name):
                printed, said = self.create(name)
                self.assertEqual(printed, "")
                self.assertIn("WorktreeCreate", said)
        self.assertEqual(self.git("worktree", "list"), before)

    def test_prints_nothing_where_git_can_not_do_it(self):
        outside = self.folder / "outside"
        outside.mkdir()
        (self.place("taken")).mkdir(parents=True)
        (self.place("taken") / "file").touch()
        for name, cwd in (("wt", outside), ("wt", "/nonexistent"), ("taken", None), ("a b", None)):
            with self.subTest((name, cwd)):
                printed, said = self.create(name, cwd)
                self.assertEqual(printed, "")
                self.assertNotEqual(said, "")

    def test_prints_nothing_without_git(self):
        self.environment["PATH"] = "/nonexistent"
        self.assertEqual(self.create()[0], "")


class Remove(WorktreeTest):
    def test_removes_the_tree_and_its_branch(self):
        self.create()
        (self.place() / "mine").write_text("unsaved")
        self.assertEqual(self.remove(self.place()), ("", ""))
        self.assertFalse(self.place().exists())
        self.assertEqual(self.branches(), ["main"])

    def test_keeps_a_branch_with_commits_of_its_own(self):
        self.create()
        self.commit("work", cwd=self.place())
        self.remove(self.place())
        self.assertFalse(self.place().exists())
        self.assertIn("worktree-wt", self.branches())

    def test_keeps_a_branch_of_another_name(self):
        self.create()
        self.git("switch", "-q", "-c", "mine", cwd=self.place())
        self.remove(self.place())
        self.assertFalse(self.place().exists())
        self.assertIn("mine", self.branches())

    def test_removes_a_tree_inside_another_and_only_that(self):
        self.create("outer")
        self.create("inner", cwd=self.place("outer"))
        self.remove(self.place("inner", self.place("outer")))
        self.assertFalse(self.place("inner", self.place("outer")).exists())
        self.assertTrue((self.place("outer") / "first").exists())

    def test_removes_nothing_elsewhere(self):
        self.git("worktree", "add", "-q", str(self.folder / "own"), "-b", "own")
        below = self.repository / ".claude/worktrees/plain"
        below.mkdir(parents=True)
        for path in (self.folder / "own", self.repository, below, below / "..", self.folder, "/", "/nonexistent", ""):
            with self.subTest(path):
                printed, said = self.remove(path)
                self.assertEqual(printed, "")
                self.assertIn("WorktreeRemove", said)
        self.assertTrue((self.folder / "own/first").exists())
        self.assertTrue((self.repository / "first").exists())
        self.assertTrue(below.exists())


if __name__ == "__main__":
    unittest.main()
