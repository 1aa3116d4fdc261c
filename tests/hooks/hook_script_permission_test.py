"""The hook script while it waits for a permission's answer, and how the hooks of one session tell each other."""
import json
import os
import pathlib
import signal
import subprocess
import time
import unittest

from hook_script_support import ALLOW, FIXTURES, PATIENCE, HookTest, answer_with, event

BASH = {"tool_name": "Bash", "tool_input": {"command": "touch x", "description": "Touch"}}
OTHER = {"tool_name": "Bash", "tool_input": {"command": "touch y"}}


class PermissionTest(HookTest):
    def ask(self, **call):
        """A hook that waits, and the request that it posted."""
        self.listener.bodies()
        process = self.start(event("PermissionRequest", **(call or BASH)))
        return process, self.listener.next()

    def wait_until(self, condition):
        end = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    def assert_leaves(self, waiting, held):
        self.finish(waiting, printed=b"")
        self.assertTrue(held.peer_has_closed())

    def assert_still_waits(self, waiting, held):
        held.answer(answer_with(ALLOW))
        self.finish(waiting, printed=ALLOW)


class Answers(PermissionTest):
    def test_prints_the_answer_to_the_byte(self):
        waiting, held = self.ask()
        body = b' {"hookSpecificOutput": {"x":\n"\xc3\xa9\\ud800", "n": 1.0}} '
        held.answer(answer_with(body))
        self.finish(waiting, printed=body)

    def test_takes_an_answer_in_pieces(self):
        waiting, held = self.ask()
        for byte in answer_with(ALLOW):
            held.connection.sendall(bytes([byte]))
        self.finish(waiting, printed=ALLOW)

    def test_does_not_wait_for_a_close_behind_a_whole_answer(self):
        waiting, held = self.ask()
        held.connection.sendall(answer_with(ALLOW))
        self.finish(waiting, printed=ALLOW)

    def test_takes_an_answer_without_a_length(self):
        waiting, held = self.ask()
        held.answer(b"HTTP/1.1 200 OK\r\n\r\n" + ALLOW)
        self.finish(waiting, printed=ALLOW)

    def test_prints_a_large_answer_whole(self):
        waiting, held = self.ask()
        body = b'{"a":"' + b"x" * 3_000_000 + b'"}'
        held.answer(answer_with(body))
        self.finish(waiting, printed=body)

    def test_prints_an_answer_that_decides_nothing(self):
        waiting, held = self.ask()
        held.answer(answer_with(b"{}"))
        self.finish(waiting, printed=b"{}")

    def test_prints_nothing_when_the_connection_is_closed_or_reset(self):
        for end in ("close", "reset"):
            waiting, held = self.ask()
            held.connection.close() if end == "close" else held.reset()
            self.finish(waiting, printed=b"")

    def test_leaves_when_a_broken_answer_stops_in_the_middle(self):
        waiting, held = self.ask()
        held.connection.sendall(answer_with(ALLOW)[:-5])
        self.finish(waiting, printed=b"")

    def test_every_recorded_request_is_held_and_answered(self):
        for path in sorted((FIXTURES / "hook-events").glob("PermissionRequest.*.json")):
            with self.subTest(path.name):
                waiting = self.start(path.read_bytes())
                held = self.listener.next()
                self.assertEqual(held.event.get("permission_suggestions"),
                                 json.loads(path.read_bytes()).get("permission_suggestions"))
                self.assert_still_waits(waiting, held)

    def test_leaves_no_mark_behind(self):
        waiting, held = self.ask()
        self.assertTrue((self.folder / "vantry-hook/s-1").is_dir())
        self.assert_still_waits(waiting, held)
        self.assertFalse((self.folder / "vantry-hook/s-1").exists())


class AnsweredInTheTerminal(PermissionTest):
    def test_leaves_when_its_call_has_run_or_failed(self):
        for name in ("PostToolUse", "PostToolUseFailure"):
            waiting, held = self.ask()
            self.run_hook(event(name, tool_use_id="toolu_1", **BASH))
            self.assert_leaves(waiting, held)

    def test_leaves_when_the_main_agent_goes_on(self):
        for over in (event("Stop"), event("UserPromptSubmit", prompt="next"), event("SessionEnd")):
            with self.subTest(over["hook_event_name"]):
                waiting, held = self.ask()
                self.run_hook(over)
                self.assert_leaves(waiting, held)

    def test_the_order_of_the_arguments_does_not_matter(self):
        waiting, held = self.ask()
        self.run_hook(event("PostToolUse", tool_name="Bash", tool_input=dict(reversed(BASH["tool_input"].items()))))
        self.assert_leaves(waiting, held)

    def test_a_plans_dialog_ends_with_other_arguments_than_it_began(self):
        waiting, held = self.ask(tool_name="ExitPlanMode", tool_input={"plan": "# Plan"})
        self.run_hook(event("PostToolUse", tool_name="ExitPlanMode", tool_input={}))
        self.assert_leaves(waiting, held)

    def test_arguments_may_be_nested_deeply(self):
        arguments = {"deep": 1}
        for _ in range(250):
            arguments = {"deep": [arguments]}
        call = {"tool_name": "mcp__a__b", "tool_input": arguments}
        waiting, held = self.ask(**call)
        self.run_hook(event("PostToolUse", **call))
        self.assert_leaves(waiting, held)

    def test_stays_for_what_concerns_others(self):
        for other in (event("PreToolUse", **BASH), event("PostToolUse", **OTHER),
                      event("PostToolUse", tool_name="Write", tool_input=BASH["tool_input"]),
                      event("PostToolUse", agent_id="a1", **BASH), event("PostToolUse", **dict(BASH, session_id="s-2")),
                      event("Stop", agent_id="a1"), dict(event("Stop"), session_id="s-2"), event("SubagentStop"),
                      event("UserPromptSubmit", prompt="<task-notification>x</task-notification>"),
                      event("Notification", notification_type="permission_prompt"),
                      event("SessionStart", source="compact")):
            with self.subTest(other):
                waiting, held = self.ask()
                self.run_hook(other)
                self.assert_still_waits(waiting, held)

    def test_a_subagents_request_outlives_the_main_turn(self):
        for main in (event("Stop"), event("UserPromptSubmit", prompt="next"), event("PostToolUse", **BASH)):
            waiting, held = self.ask(agent_id="a1", **BASH)
            self.run_hook(main)
            self.assert_still_waits(waiting, held)

    def test_a_subagents_request_ends_with_its_own_call(self):
        first, first_held = self.ask(agent_id="a1", **BASH)
        second, second_held = self.ask(agent_id="a2", **BASH)
        self.run_hook(event("PostToolUse", agent_id="a1", **BASH))
        self.assert_leaves(first, first_held)
        self.assert_still_waits(second, second_held)

    def test_the_recorded_yes_in_the_terminal_frees_the_hook(self):
        lines = (FIXTURES / "sequences/answered-yes-in-terminal.jsonl").read_text().splitlines()
        waiting = held = None
        for payload in (json.loads(line)["payload"] for line in lines):
            if payload["hook_event_name"] == "PermissionRequest":
                waiting = self.start(payload)
                held = self.listener.next()
            else:
                self.run_hook(payload)
                self.listener.next()
            if payload["hook_event_name"] == "PostToolUse":
                self.assert_leaves(waiting, held)

    def test_the_recorded_requests_of_two_agents_stay_apart(self):
        lines = (FIXTURES / "sequences/subagent-and-main-request-at-once.jsonl").read_text().splitlines()
        records = [json.loads(line) for line in lines]
        waiting = []  # (until, hook, request, answered)
        for record in records:
            for entry in [entry for entry in waiting if entry[0] < record["at"]]:
                waiting.remove(entry)
                if entry[3]:
                    self.assert_still_waits(entry[1], entry[2])
            if record["payload"]["hook_event_name"] == "PermissionRequest":
                hook = self.start(record["payload"])
                waiting.append((record["until"], hook, self.listener.next(), record["answer"]))
            else:
                self.run_hook(record["payload"])
                self.listener.next()
        self.assertEqual(waiting, [])

    def test_a_mark_that_a_killed_hook_left_is_cleared_by_the_next_event(self):
        waiting, held = self.ask()
        waiting.kill()
        self.assertTrue(held.peer_has_closed())
        self.run_hook(event("PreToolUse", **OTHER))
        self.assertFalse((self.folder / "vantry-hook/s-1").exists())

    def test_its_mark_is_not_taken_for_a_dead_hooks_when_another_looks_at_once(self):
        # The other looks as soon as there is a FIFO, and clears away what nobody reads.
        (self.folder / "sitecustomize.py").write_text(
            "import glob, os\nplain = os.mkfifo\n"
            "def look(path, mode):\n    plain(path, mode)\n"
            "    for mark in glob.glob(%r):\n"
            "        try:\n            os.close(os.open(mark, os.O_WRONLY | os.O_NONBLOCK))\n"
            "        except OSError:\n            os.unlink(mark)\n"
            "os.mkfifo = look\n" % str(self.folder / "vantry-hook/s-1/wait-*"))
        self.environment["PYTHONPATH"] = str(self.folder)
        waiting, held = self.ask()
        self.run_hook(event("PostToolUse", **BASH))
        self.assert_leaves(waiting, held)

    def test_many_ask_and_are_freed_at_once(self):
        calls = [{"agent_id": "a%d" % number, **BASH} for number in range(20)]
        hooks = [self.start(event("PermissionRequest", **call)) for call in calls]
        held = [self.listener.next() for _ in calls]
        posts = [self.start(event("PostToolUse", **call)) for call in calls]
        for process in posts:
            self.finish(process)
        for process, request in zip(hooks, held):
            self.assert_leaves(process, request)
        self.assertFalse((self.folder / "vantry-hook/s-1").exists())

    def test_marks_of_yesterday_are_forgotten(self):
        old = self.folder / "vantry-hook/s-old"
        old.mkdir(parents=True, mode=0o700)
        (self.folder / "vantry-hook").chmod(0o700)
        (old / "ask-ExitPlanMode").touch()
        os.utime(old, (time.time() - 100_000,) * 2)
        waiting, held = self.ask()
        self.assertFalse(old.exists())
        self.assert_still_waits(waiting, held)

    def test_waits_all_the_same_where_no_mark_can_be_kept(self):
        self.environment.update(XDG_RUNTIME_DIR="", TMPDIR="/proc")
        waiting, held = self.ask()
        self.assert_still_waits(waiting, held)


class AgentGone(PermissionTest):
    def test_leaves_with_the_agent(self):
        waiting, held = self.ask()
        self.kill_agent()
        self.assert_leaves(waiting, held)

    def test_leaves_with_an_agent_that_nobody_has_buried(self):
        waiting, held = self.ask()
        self.agent.send_signal(signal.SIGKILL)
        self.assert_leaves(waiting, held)

    def test_leaves_with_the_agent_where_it_can_not_be_watched(self):
        (self.folder / "sitecustomize.py").write_text("import os\nos.pidfd_open = None\n")
        self.environment["PYTHONPATH"] = str(self.folder)
        waiting, held = self.ask()
        self.kill_agent()
        self.assert_leaves(waiting, held)

    def test_stays_when_the_agents_process_changes_its_name(self):
        (self.folder / "sitecustomize.py").write_text(
            "import os, select\nos.pidfd_open = None\nplain = select.select\n"
            "def hasty(read, write, fail, period):\n    open(%r, 'a').write('x')\n"
            "    return plain(read, write, fail, period and 0.01)\n"
            "select.select = hasty\n" % str(self.folder / "looks"))
        self.environment["PYTHONPATH"] = str(self.folder)
        agent = self.start_process(["sh", "-c", "read line; exec sleep 1000"], stdin=subprocess.PIPE)
        self.addCleanup(agent.stdin.close)
        self.environment["CLAUDE_PID"] = str(agent.pid)
        waiting, held = self.ask()
        self.wait_until((self.folder / "looks").exists)
        agent.stdin.write(b"\n")
        agent.stdin.flush()
        name = pathlib.Path("/proc/%d/comm" % agent.pid)
        self.wait_until(lambda: name.read_text() == "sleep\n")
        looks = (self.folder / "looks").stat().st_size
        self.wait_until(lambda: (self.folder / "looks").stat().st_size > looks + 2 or waiting.poll() is not None)
        self.assert_still_waits(waiting, held)


class RefusedInTheTerminal(PermissionTest):
    def terminate(self, waiting):
        os.killpg(waiting.pid, signal.SIGTERM)

    def test_tells_vantry_that_the_turn_was_interrupted(self):
        waiting, held = self.ask(transcript_path="/t.jsonl", **BASH)
        self.terminate(waiting)
        self.assert_leaves(waiting, held)
        self.assertEqual(self.listener.next().event,
                         {"session_id": "s-1", "cwd": "/tmp", "transcript_path": "/t.jsonl", "tool_name": "Bash",
                          "hook_event_name": "PostToolUseFailure", "is_interrupt": True})

    def test_says_it_once(self):
        waiting, held = self.ask()
        for _ in range(5):
            self.terminate(waiting)
        self.assert_leaves(waiting, held)
        self.listener.next()
        self.assertEqual(self.listener.bodies(), [])
        self.assertFalse((self.folder / "vantry-hook/s-1").exists())

    def test_says_nothing_for_a_subagent(self):
        waiting, held = self.ask(agent_id="a1", **BASH)
        self.terminate(waiting)
        self.assert_leaves(waiting, held)
        self.assertEqual(self.listener.bodies(), [])

    def test_says_nothing_at_the_agents_own_end(self):
        waiting, held = self.ask()
        waiting.send_signal(signal.SIGSTOP)
        self.kill_agent()
        waiting.send_signal(signal.SIGTERM)
        waiting.send_signal(signal.SIGCONT)
        self.assert_leaves(waiting, held)
        self.assertEqual(self.listener.bodies(), [])

    def test_says_nothing_when_the_agent_gave_the_hook_up_for_its_time(self):
        # The clock runs ahead as soon as the script has looked at it for the first time.
        (self.folder / "sitecustomize.py").write_text(
            "import time\nreal, asked = time.monotonic, []\n"
            "def ahead():\n    asked.append(0)\n    return real() + (591 if len(asked) > 1 else 0)\n"
            "time.monotonic = ahead\n")
        self.environment["PYTHONPATH"] = str(self.folder)
        waiting, held = self.ask()
        self.terminate(waiting)
        self.assert_leaves(waiting, held)
        self.assertEqual(self.listener.bodies(), [])

    def test_leaves_also_when_vantry_has_gone(self):
        waiting, held = self.ask()
        self.listener.close()
        self.terminate(waiting)
        self.finish(waiting, printed=b"")


if __name__ == "__main__":
    unittest.main()
