"""The hook script on the ordinary path: what it adds to an event, makes decodable, holds back, and how it posts."""
import ast
import json
import os
import re
import shlex
import shutil
import socket
import subprocess
import sys
import threading
import unittest

from hook_script_support import (
    ALLOW, EVENTS, FIXTURES, OK, PATIENCE, SCRIPT, HookTest, answer_with, event, fixture, undecodable)

ADDED = {"terminal_type", "terminal_session_id", "pid", "shell_pid", "project_dir", "tool_detail"}


class Delivery(HookTest):
    def test_every_recorded_payload_arrives_decodable_and_otherwise_unchanged(self):
        self.listener.answer = answer_with(b"")
        for path in sorted((FIXTURES / "hook-events").glob("*.json")):
            if path.name.startswith(("TaskCompleted", "Worktree")):
                continue  # they have tests of their own
            with self.subTest(path.name):
                given = json.loads(path.read_bytes())
                posted = self.delivered(path.read_bytes())
                self.assertEqual(undecodable(posted), [])
                self.assertIn(posted["hook_event_name"], EVENTS)
                treated = {"tool_response"} if undecodable(given) else set()
                treated |= {"prompt"} if "task-notification" in path.name else set()
                for key in set(given) - treated:
                    self.assertEqual(posted[key], given[key], key)
                self.assertLessEqual(set(posted) - set(given), ADDED)

    def test_posts_with_a_content_length_that_is_not_the_last_header_line(self):
        self.run_hook(event("Stop"))
        lines = self.listener.next().head.decode().split("\r\n")
        self.assertEqual(lines[0], "POST /hook HTTP/1.1")
        self.assertIn("Host: 127.0.0.1:%d" % self.listener.port, lines)
        place = [number for number, line in enumerate(lines) if line.startswith("Content-Length: ")]
        self.assertEqual(len(place), 1)
        self.assertLess(place[0], len(lines) - 1)
        self.assertFalse([line for line in lines if line.lower().startswith(("origin", "sec-fetch"))])

    def test_prints_nothing_for_an_ordinary_event_whatever_the_answer(self):
        self.listener.answer = answer_with(ALLOW)
        self.run_hook(event("Stop"), printed=b"")

    def test_keeps_the_source_of_what_it_does_not_touch(self):
        arguments = rb'{"n":1234567890123456789012,"f":1.10e+5,"l":"\ud800"}'
        self.run_hook(b'{"session_id":"s" , "tool_input":' + arguments + b',"z":-0.0}')
        body = self.listener.next().body
        for source in (arguments, b"-0.0"):
            self.assertIn(source, body)

    def test_the_last_of_a_doubled_key_counts(self):
        self.run_hook(b'{"session_id":"first","cwd":1,"session_id":"last","cwd":"/x"}')
        body = self.listener.next().body
        self.assertEqual(json.loads(body)["session_id"], "last")
        self.assertEqual(body.count(b'"session_id"'), 1)
        self.assertEqual(json.loads(body)["cwd"], "/x")

    def test_posts_nothing_for_what_is_no_event(self):
        for payload in (b"", b" ", b"nonsense", b"[]", b'"x"', b"{", b'{"session_id":"s"', b'{"session_id":"s"} x',
                        b'{"session_id":"s",}', b"{,}", b'{"session_id":5}', b'{"session_id":null}', b"{}",
                        b'{"a" "b"}', b'{"session_id":"s","x":NaN}', b'{"session_id":"s","x":[-Infinity]}',
                        b'{"session_id":"s","x":01}', b"[" * 100000, b'{"session_id":"s","x":' + b"[" * 100000):
            with self.subTest(payload[:40]):
                self.run_hook(payload)
        self.assertEqual(self.listener.bodies(), [])

    def test_takes_bytes_that_are_not_utf8(self):
        self.assertEqual(self.delivered(b'{"session_id":"s","message":"a\xffb"}')["message"], "a\ufffdb")

    def test_takes_numbers_of_any_length(self):
        posted = self.listener
        self.run_hook(b'{"session_id":"s","x":' + b"9" * 20000 + b"}")
        self.assertIn(b"9" * 20000, posted.next().body)

    def test_does_not_wait_for_the_end_of_its_input_behind_a_whole_event(self):
        reader, writer = os.pipe()
        self.addCleanup(os.close, writer)
        process = self.start_process([sys.executable, SCRIPT, "--port", str(self.listener.port)], stdin=reader,
                                     env=self.environment)
        os.close(reader)
        for piece in (b'{"session_id":"s","tool_input":{"a":{}', b'}', b',"message":"late"}\n'):
            os.write(writer, piece)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(self.listener.next().event["message"], "late")

    def test_posts_a_large_event_whole(self):
        posted = self.delivered(event("PostToolUse", tool_name="Read", tool_response={"text": "ä" * 10_000_000}))
        self.assertEqual(len(posted["tool_response"]["text"]), 10_000_000)


class Decodable(HookTest):
    def test_wraps_a_tool_response_that_is_no_object(self):
        for value in ("text", [], [{"type": "text"}], 3, True):
            with self.subTest(value):
                posted = self.delivered(event("PostToolUse", tool_name="mcp__a__b", tool_response=value))
                self.assertEqual(posted["tool_response"], {"content": value})

    def test_wraps_a_tool_input_that_is_no_object(self):
        posted = self.delivered(event("PreToolUse", tool_name="X", tool_input="ls"))
        self.assertEqual(posted["tool_input"], {"content": "ls"})

    def test_leaves_null_alone(self):
        posted = self.delivered(event("PostToolUse", tool_response=None, message=None))
        self.assertIsNone(posted["tool_response"])

    def test_leaves_out_every_other_value_of_a_wrong_type(self):
        wrong = {"cwd": 1, "transcript_path": {}, "permission_mode": [], "tool_name": 1, "tool_use_id": True,
                 "notification_type": 3, "message": {"a": 1}, "source": 1.5, "model": {"id": "x"}, "agent_type": [],
                 "agent_id": 4, "error": {"e": 1}, "last_assistant_message": [], "prompt": [], "type": 3,
                 "is_interrupt": "yes", "stop_hook_active": 1, "timestamp": "now", "permission_suggestions": {"a": 1}}
        posted = self.delivered(dict(event("Stop"), **wrong))
        self.assertEqual(set(wrong) & set(posted), set())
        self.assertEqual(undecodable(posted), [])

    def test_leaves_out_suggestions_that_are_not_all_objects(self):
        self.assertNotIn("permission_suggestions", self.delivered(event("Stop", permission_suggestions=[{}, 1])))

    def test_replaces_a_process_number_that_is_no_integer(self):
        for value in (b"3.5", b'"7"', b"1e400", b"123456789012345678901234567890", b"true", b"null"):
            with self.subTest(value):
                posted = self.delivered(b'{"session_id":"s","pid":' + value + b"}")
                self.assertEqual(posted["pid"], self.agent.pid)

    def test_keeps_what_the_payload_has_already(self):
        given = {"pid": 77, "shell_pid": 78, "terminal_type": "kitty", "terminal_session_id": "9", "project_dir": "/p",
                 "tool_detail": "mine", "tool_name": "Bash", "tool_input": {"command": "ls"}}
        posted = self.delivered(dict(event("PreToolUse"), **given))
        self.assertEqual({key: posted[key] for key in given}, given)

    def test_passes_unknown_events_and_notifications_on(self):
        self.assertEqual(self.delivered(event("NewEvent"))["hook_event_name"], "NewEvent")
        posted = self.delivered(event("Notification", notification_type="push_notification"))
        self.assertEqual(posted["notification_type"], "push_notification")


class HeldBack(HookTest):
    def test_a_finished_to_do_item(self):
        self.run_hook(fixture("TaskCompleted.json"))
        self.assertEqual(self.listener.bodies(), [])

    def test_but_not_the_end_of_a_turn(self):
        self.assertEqual(self.delivered(event("TaskCompleted"))["hook_event_name"], "TaskCompleted")

    def test_the_prompt_that_a_machine_wrote(self):
        for prompt in ("<task-notification>\nx</task-notification>", " \n<bash-input>ls</bash-input>", "<bash-stdout>x",
                       "<local-command-stdout>x", "<command-name>/clear</command-name>"):
            with self.subTest(prompt):
                self.assertNotIn("prompt", self.delivered(event("UserPromptSubmit", prompt=prompt)))

    def test_but_not_the_prompt_of_a_person(self):
        for prompt in ("", "fix <task-notification>", "<div>"):
            self.assertEqual(self.delivered(event("UserPromptSubmit", prompt=prompt))["prompt"], prompt)

    def permission_prompt_arrives(self, session="s-1"):
        self.listener.bodies()
        self.run_hook(event("Notification", notification_type="permission_prompt", session_id=session))
        return len(self.listener.bodies()) == 1

    def test_a_permission_prompt_about_an_announced_dialog(self):
        for tool in ("AskUserQuestion", "ExitPlanMode"):
            self.run_hook(event("PreToolUse", tool_name=tool, tool_input={}))
            self.assertFalse(self.permission_prompt_arrives())
            self.assertFalse(self.permission_prompt_arrives(), "the dialog is still open")
            self.assertTrue(self.permission_prompt_arrives("another-session"))
            self.run_hook(event("PostToolUse", tool_name=tool, tool_input={"answers": 1}))
            self.assertTrue(self.permission_prompt_arrives())

    def test_until_the_dialog_has_gone(self):
        for after in (event("PostToolUseFailure", tool_name="AskUserQuestion"), event("Stop"),
                      event("UserPromptSubmit", prompt="go on"), event("SessionEnd"),
                      event("SessionStart", source="resume")):
            with self.subTest(after["hook_event_name"]):
                self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
                self.run_hook(after)
                self.assertTrue(self.permission_prompt_arrives())

    def test_until_the_agent_goes_on_after_an_esc_of_which_no_event_tells(self):
        for name in ("PreToolUse", "PermissionRequest"):
            self.listener.answer = answer_with(b"")
            self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
            self.run_hook(event(name, tool_name="Bash", tool_input={"command": "ls"}))
            self.assertTrue(self.permission_prompt_arrives())

    def test_whose_dialog_opens_after_a_call_that_was_made_beside_it(self):
        self.listener.answer = answer_with(ALLOW)
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.run_hook(event("PreToolUse", tool_name="Read", tool_input={}))
        self.run_hook(event("PermissionRequest", tool_name="AskUserQuestion", tool_input={}), printed=ALLOW)
        self.assertFalse(self.permission_prompt_arrives())

    def test_also_while_other_things_happen(self):
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        for between in (event("PostToolUse", tool_name="Bash", tool_input={}), event("Stop", agent_id="a"),
                        event("SubagentStop", agent_id="a"), event("PreToolUse", tool_name="Read", agent_id="a"),
                        event("UserPromptSubmit", prompt="<task-notification>x")):
            self.run_hook(between)
            self.assertFalse(self.permission_prompt_arrives())

    def test_a_permission_prompt_without_an_announced_dialog_arrives(self):
        self.run_hook(event("PreToolUse", tool_name="Bash", tool_input={"command": "ls"}))
        self.assertTrue(self.permission_prompt_arrives())

    def test_leaves_no_mark_when_the_dialog_has_gone(self):
        self.run_hook(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}))
        self.assertTrue((self.folder / "vantry-hook/s-1").is_dir())
        self.run_hook(event("Stop"))
        self.assertFalse((self.folder / "vantry-hook/s-1").exists())


class ToolDetail(HookTest):
    def detail(self, tool, **arguments):
        return self.delivered(event("PreToolUse", tool_name=tool, tool_input=arguments)).get("tool_detail")

    def test_names_what_the_tool_works_on(self):
        for tool, arguments, expected in (
                ("Bash", {"command": "rm -rf x", "description": "Clean"}, "rm -rf x"),
                ("Write", {"content": "a", "file_path": "/a b"}, "/a b"),
                ("Edit", {"file_path": "/a", "old_string": "x"}, "/a"),
                ("NotebookEdit", {"new_source": "s", "notebook_path": "/n"}, "/n"),
                ("Grep", {"pattern": "x.y"}, "x.y"), ("Glob", {"pattern": "*", "path": "/src"}, "* in /src"),
                ("WebFetch", {"prompt": "p", "url": "https://e.org"}, "https://e.org"),
                ("WebSearch", {"query": "q"}, "q"), ("Agent", {"prompt": "long", "description": "Count"}, "Count"),
                ("Skill", {"skill": "init", "args": "-x"}, "init -x"),
                ("AskUserQuestion", {"questions": [{"question": "Which?"}, {"question": "And?"}]}, "Which?"),
                ("ExitPlanMode", {"plan": "\n---\n# The plan\n1. x"}, "The plan"),
                ("Unknown", {"number": 5, "thing": "this"}, "this"),
                ("mcp__a__b", {"word": "hello", "n": 3, "deep": {"x": [1]}}, 'word: hello, n: 3, deep: {"x": [1]}')):
            with self.subTest(tool):
                self.assertEqual(self.detail(tool, **arguments), expected)

    def test_is_absent_where_nothing_tells(self):
        for tool, arguments in (("Bash", {}), ("Bash", {"command": ""}), ("Bash", {"command": 5}), ("CronList", {}),
                                ("AskUserQuestion", {"questions": []}), ("AskUserQuestion", {"questions": [7]}),
                                ("AskUserQuestion", {"questions": [{"question": 7}]}), ("ExitPlanMode", {}),
                                ("ExitPlanMode", {"plan": "---"}), ("mcp__a__b", {})):
            with self.subTest((tool, arguments)):
                self.assertIsNone(self.detail(tool, **arguments))

    def test_shows_all_lines_of_a_command_in_one(self):
        self.assertEqual(self.detail("Bash", command="cd x\n\n  make\r\nrm y\n"), "cd x ⏎ make ⏎ rm y")

    def test_hides_no_control_or_direction_character(self):
        self.assertEqual(self.detail("Bash", command="a\x1b[2Kb\u202ec\u200bd"), "a\\x1b[2Kb\\u202ec\\u200bd")

    def test_is_cut_only_beyond_two_thousand_characters(self):
        self.assertEqual(self.detail("Bash", command="x" * 2000), "x" * 2000)
        self.assertEqual(self.detail("Bash", command="x" * 2001), "x" * 1999 + "…")

    def test_is_not_pushed_out_of_sight_by_blanks(self):
        self.assertEqual(self.detail("Bash", command="ls" + " " * 5000 + "; rm x"), "ls ; rm x")


class Surroundings(HookTest):
    def test_tells_the_terminal(self):
        tmux = {"TMUX": "/tmp/tmux-1000/default,123,0", "TMUX_PANE": "%5"}
        kitty = {"KITTY_LISTEN_ON": "unix:/tmp/k", "KITTY_WINDOW_ID": "3"}
        konsole = {"KONSOLE_DBUS_SERVICE": ":1.5", "KONSOLE_DBUS_SESSION": "/Sessions/1"}
        code, window = {"TERM_PROGRAM": "vscode"}, {"WINDOWID": "4711"}
        for variables, kind, place in (
                ({**tmux, **kitty, **konsole, **code, **window}, "tmux-pane", "/tmp/tmux-1000/default,%5"),
                ({**kitty, **konsole, **code, **window, "TMUX": "x"}, "kitty-window", "unix:/tmp/k,3"),
                ({**konsole, **code, "KITTY_WINDOW_ID": "3"}, "konsole-session", ":1.5,/Sessions/1"),
                ({**code, "KITTY_WINDOW_ID": "3", **window}, "vscode", ""),
                ({**code, "TERM_PROGRAM_VERSION": "1.9-insider"}, "vscode-insiders", ""),
                ({**code, "CURSOR_TRACE_ID": "x"}, "cursor", ""),
                ({**code, "WINDSURF_CASCADE_TERMINAL_KIND": "x"}, "windsurf", ""),
                ({"KITTY_WINDOW_ID": "3", "GHOSTTY_RESOURCES_DIR": "/g"}, "kitty", "3"),
                ({"GHOSTTY_RESOURCES_DIR": "/g", **window}, "ghostty", ""),
                ({"ALACRITTY_WINDOW_ID": "9", **window}, "alacritty", "9"),
                ({"TERM_PROGRAM": "WarpTerminal"}, "warp", ""),
                (window, "x11-window", "4711"), ({}, "x11-window", ""),
                ({"TMUX": "/tmp/a,b c,1,0", "TMUX_PANE": "%0", **window}, "tmux-pane", "/tmp/a,b c,%0"),
                ({"TMUX_PANE": "%5", **window}, "x11-window", "4711"),
                ({"KITTY_LISTEN_ON": "unix:/tmp/k", **window}, "x11-window", "4711"),
                ({**konsole, "KONSOLE_DBUS_SESSION": "", **window}, "x11-window", "4711"),
                ({**code, "CURSOR_TRACE_ID": "", "WINDSURF_X": ""}, "vscode", ""),
                ({"TERM_PROGRAM": "ghostty"}, "ghostty", ""),
                ({"ALACRITTY_SOCKET": "/run/a.sock", **window}, "alacritty", ""),
                ({"WARP_IS_LOCAL_SHELL_SESSION": "1", **window}, "warp", ""),
                ({name: "" for name in {**tmux, **kitty, **konsole, **code, **window}}, "x11-window", "")):
            with self.subTest(variables):
                posted = self.delivered(event("Stop"), environment={**self.environment, **variables})
                self.assertEqual((posted["terminal_type"], posted["terminal_session_id"]), (kind, place))

    def test_tells_the_window_that_was_opened_from_another_terminal(self):
        window, pane = {"WINDOWID": "4711"}, "/tmp/tmux-1000/default,%5"
        tmux = {"TMUX": "/tmp/tmux-1000/default,123,0", "TMUX_PANE": "%5", **window}
        kitty = {"KITTY_LISTEN_ON": "unix:/tmp/k", "KITTY_WINDOW_ID": "3", "TERM_PROGRAM": "vscode"}
        konsole = {"KONSOLE_DBUS_SERVICE": ":1.5", "KONSOLE_DBUS_SESSION": "/Sessions/1", **window}
        for inherited, parents, kind, place in ((tmux, ("xterm",), "x11-window", "4711"),
                                                (tmux, ("tmux: server",), "tmux-pane", pane),
                                                (tmux, ("tmux: server", "xterm"), "x11-window", "4711"),
                                                (tmux, ("xterm", "tmux: server"), "tmux-pane", pane),
                                                (tmux, ("some-window",), "tmux-pane", pane),
                                                (kitty, ("kitty", "code"), "vscode", ""),
                                                (kitty, ("code", "kitty"), "kitty-window", "unix:/tmp/k,3"),
                                                (konsole, ("konsole", "xterm"), "x11-window", "4711"),
                                                (konsole, ("dolphin",), "konsole-session", ":1.5,/Sessions/1")):
            with self.subTest((kind, parents)):
                command = "sleep 1000 & echo $!; wait"
                for name in reversed(parents):
                    if not (self.folder / name).exists():
                        (self.folder / name).symlink_to("/bin/bash")
                    command = "%s -c %s; true" % (shlex.quote(str(self.folder / name)), shlex.quote(command))
                top = self.start_process(["bash", "-c", command], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
                agent = int(top.stdout.readline())
                self.addCleanup(os.kill, agent, 9)
                self.addCleanup(top.stdout.close)
                posted = self.delivered(event("Stop"),
                                        environment={**self.environment, **inherited, "CLAUDE_PID": str(agent)})
                self.assertEqual((posted["terminal_type"], posted["terminal_session_id"]), (kind, place))

    def test_tells_the_project(self):
        self.environment["CLAUDE_PROJECT_DIR"] = "/my/project"
        self.assertEqual(self.delivered(event("Stop"))["project_dir"], "/my/project")

    def test_takes_variables_that_are_not_utf8(self):
        self.environment["CLAUDE_PROJECT_DIR"] = b"/my/\xff"
        self.assertIn("/my/", self.delivered(event("Stop"))["project_dir"])

    def test_tells_the_shell_that_hosts_the_agent(self):
        shell = self.start_process(["bash", "-c", "sleep 1000 & echo $!; wait"], stdout=subprocess.PIPE)
        agent = int(shell.stdout.readline())
        self.addCleanup(os.kill, agent, 9)
        self.addCleanup(shell.stdout.close)
        posted = self.delivered(event("Stop"), environment={**self.environment, "CLAUDE_PID": str(agent)})
        self.assertEqual((posted["pid"], posted["shell_pid"]), (agent, shell.pid))

    def test_finds_the_agent_above_the_hooks_shells(self):
        agent = self.folder / "claude"
        agent.symlink_to("/bin/bash")
        hook = "%s %s --port %d" % (sys.executable, SCRIPT, self.listener.port)
        del self.environment["CLAUDE_PID"]
        process = self.start_process([str(agent), "-c", "sh -c 'sh -c \"%s; true\"; true'; true" % hook],
                                     stdin=subprocess.PIPE, env=self.environment)
        process.communicate(json.dumps(event("Stop")).encode(), timeout=PATIENCE)
        self.assertEqual(self.listener.next().event["pid"], process.pid)

    def test_takes_no_agent_that_has_gone(self):
        self.kill_agent()
        for pid in (str(self.agent.pid), "1", "0", "-5", "x", "99999999999999999999", "²", ""):
            with self.subTest(pid):
                posted = self.delivered(event("Stop"), environment={**self.environment, "CLAUDE_PID": pid})
                self.assertNotIn(str(posted["pid"]), (pid, "1", "0"))
                self.assertEqual(undecodable(posted), [])


class Listeners(HookTest):
    """Whatever listens, the agent goes on."""

    def unused_port(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            return probe.getsockname()[1]

    def test_nobody_listens(self):
        for name in ("Stop", "PermissionRequest"):
            self.run_hook(event(name, tool_name="Bash", tool_input={}), port=self.unused_port())

    def test_a_connection_that_meets_itself_is_no_listener(self):
        # Most kernels hand out the asked-for port only now and then, so the test binds it first.
        port = self.unused_port()
        patch = ("import _socket\nplain = _socket.socket\nclass Own(plain):\n"
                 "    def connect(self, address):\n        self.bind(address); super().connect(address)\n"
                 "_socket.socket = Own\n")
        (self.folder / "sitecustomize.py").write_text(patch)
        self.environment["PYTHONPATH"] = str(self.folder)
        self.run_hook(event("PermissionRequest", tool_name="Bash", tool_input={}), port=port)

    def test_answers_that_are_not_http(self):
        for answer in (b"", b"\0" * 100, b"SSH-2.0-x\r\n", b"x" * 1_000_000, b"HTTP/1.1 200 OK\r\n",
                       b"HTTP/1.1 500 No\r\n\r\n" + ALLOW, b"HTTP/1.1 200 OK\r\nA: " + b"a" * 200_000,
                       OK % (500, ALLOW), answer_with(b""), b"HTTP/1.1 404 Not Found\r\n\r\n" + ALLOW,
                       answer_with(b"<html>"), answer_with(b"[1]"), b"HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n{}",
                       b"HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n" + ALLOW):
            self.listener.answer = answer
            for name in ("Stop", "PermissionRequest"):
                with self.subTest((name, answer[:40])):
                    self.run_hook(event(name, tool_name="Bash", tool_input={}))

    def test_silence_is_not_waited_for(self):
        self.listener.serve = lambda connection: self.listener.requests.put(connection)
        self.run_hook(event("Stop"))

    def test_an_endless_answer_is_not_waited_for(self):
        over = threading.Event()
        self.addCleanup(over.set)
        for pause, start, piece in ((0.01, b"", b"x"), (0, b"", b"x" * 65536),
                                    (0, b"HTTP/1.1 200 OK\r\n\r\n", b"x" * 65536)):
            def pour(connection):
                try:
                    connection.sendall(start)
                    while not over.wait(pause):
                        connection.sendall(piece)
                except OSError:
                    connection.close()

            self.listener.serve = pour
            self.run_hook(event("Stop"))


class Environments(HookTest):
    def test_works_with_an_empty_environment(self):
        self.delivered(event("Stop"), environment={})

    def test_works_without_a_folder_for_marks(self):
        closed = {**self.environment, "XDG_RUNTIME_DIR": "/nonexistent", "TMPDIR": "/proc"}
        self.delivered(event("PreToolUse", tool_name="AskUserQuestion", tool_input={}), environment=closed)
        self.delivered(event("Stop"), environment=closed)

    def test_works_with_its_output_closed(self):
        self.listener.answer = answer_with(ALLOW)
        closed = ("sh", "-c", 'exec "$@" >&-', "sh", sys.executable)
        self.run_hook(event("PermissionRequest", tool_name="Bash", tool_input={}), interpreter=closed)

    def test_works_with_its_input_closed(self):
        self.run_hook(b"", interpreter=("sh", "-c", 'exec "$@" <&-', "sh", sys.executable))
        self.assertEqual(self.listener.bodies(), [])

    def test_works_without_proper_arguments(self):
        for arguments in ([], ["--port"], ["--port", "x"], ["--port", "0"], ["--port", "99999"]):
            done = subprocess.run([sys.executable, SCRIPT, *arguments], input=b'{"session_id":"s"}',
                                  capture_output=True, timeout=PATIENCE, check=False, env=self.environment)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))

    def test_works_without_the_cores_of_the_library(self):
        (self.folder / "sitecustomize.py").write_text("import sys\nsys.modules.update(_json=None)\n")
        self.environment["PYTHONPATH"] = str(self.folder)
        self.assertEqual(self.delivered(event("Stop", message="é\ud800"))["message"], "é\ud800")

    def test_takes_no_other_hook_for_a_module_of_the_library(self):
        hooks = self.folder / "hooks"
        hooks.mkdir()
        for module in ("binascii", "json", "marshal", "select", "signal", "time", "_json", "_socket"):
            (hooks / (module + ".py")).write_text("raise SystemExit(3)")
        script = shutil.copy(SCRIPT, hooks)
        self.listener.answer = answer_with(ALLOW)
        self.run_hook(event("PermissionRequest", tool_name="Bash", tool_input={}), printed=ALLOW, script=script)

    def test_ignores_proxies(self):
        self.delivered(event("Stop"), environment={**self.environment, "http_proxy": "http://127.0.0.1:1",
                                                   "ALL_PROXY": "http://127.0.0.1:1"})


class Source(unittest.TestCase):
    def test_is_python_3_8(self):
        tree = ast.parse(SCRIPT.read_text(), feature_version=(3, 8))
        texts = [node.value.value for node in tree.body if isinstance(node, ast.Assign)]
        self.assertEqual(len(texts), 2)
        for text in texts:
            ast.parse(text, feature_version=(3, 8))


class Imports(HookTest):
    def test_an_ordinary_event_imports_next_to_nothing(self):
        def names(report):
            return set(re.findall(rb"\| +([\w.]+)$", report, re.MULTILINE))

        bare = subprocess.run([sys.executable, "-X", "importtime", "-c", "pass"], capture_output=True, check=True,
                              env=self.environment)
        for payload in (fixture("PostToolUse.Bash.json"), fixture("PreToolUse.mcp__probe__echo.json"),
                        fixture("Stop.json"), fixture("PostToolUse.mcp__probe__big.response-array.json")):
            for run in ("first", "later"):
                process = self.start(payload, interpreter=(sys.executable, "-X", "importtime"))
                report = process.communicate(timeout=PATIENCE)[1]
                extra = names(report) - names(bare.stderr)
                self.assertLessEqual(extra, {b"_json", b"_socket", b"time", b"marshal", b"_imp", b"gc"}, run)


if __name__ == "__main__":
    unittest.main()
