#!/usr/bin/env python3
"""Tells Vantry what the agent does, and brings the user's answer to a permission request back.

The agent runs this for every hook event: `python3 vantry_hook.py --port N`, the event's JSON on standard input. It
always exits 0 and prints nothing but the answer to a permission request or the path of a worktree it made.

The agent waits for every event's hook, so this is built for speed. Python compiles a script anew in each run, which
would be a third of the time: so the hook stands below as text, whose compiled form is kept in a private folder. HOOK
is what most events need, DIALOGS_AND_WORKTREES is the rest, which is compiled when an event asks for it. Of the library
it needs `_json` and `_socket`, the cores of `json` and `socket`; `os._exit` leaves out the clearing up.
"""
import os
import sys

HOOK = r'''
from time import monotonic

env = os.environ.get
ANSWER_LIMIT = 16 << 20
STRINGS = ("cwd transcript_path permission_mode hook_event_name type tool_name tool_use_id notification_type message "
           "source model agent_type agent_id error last_assistant_message prompt terminal_type terminal_session_id "
           "project_dir tool_detail")
# What Vantry's strict decoder takes. One value of another type would lose the whole event.
TYPES = dict.fromkeys(STRINGS.split(), str)
TYPES.update(tool_input=dict, tool_response=dict, is_interrupt=bool, stop_hook_active=bool, permission_suggestions=list,
             pid=float, shell_pid=float, timestamp=float)
PICKY = {"pid": lambda value: value % 1 == 0 and abs(value) < 2 ** 63, "timestamp": lambda value: abs(value) < 1.7e308,
         "permission_suggestions": lambda value: all(type(item) is dict for item in value)}
PICKY["shell_pid"] = PICKY["pid"]
# Programs that open a terminal in a window, as the system names their processes: 15 bytes at most.
WINDOWED = ("xterm urxvt kitty konsole alacritty ghostty foot footclient wezterm-gui gnome-terminal- kgx ptyxis-agent "
            "xfce4-terminal mate-terminal lxterminal qterminal terminator tilix code code-insiders cursor windsurf "
            "zed-editor").split()
SHELLS = "sh bash dash zsh fish ksh mksh tcsh csh ash nu elvish xonsh pwsh".split()
# What tells most about a tool call, in this order.
TELLING = "command file_path notebook_path pattern url query skill subject description prompt".split()
# Prompts that no person typed.
MACHINE = ("<task-notification>", "<bash-input>", "<bash-stdout>", "<bash-stderr>", "<local-command-", "<command-name>",
           "<command-message>", "<command-args>")
# PreToolUse announces their dialogs, PermissionRequest opens them. One is open at a time, and PostToolUse brings other
# arguments.
DIALOGS = ("AskUserQuestion", "ExitPlanMode")


def refuse(constant):
    raise ValueError(constant)  # NaN and Infinity are Python's own


class Context:
    strict, object_hook, object_pairs_hook, parse_constant, memo = True, None, None, refuse, {}
    parse_float = parse_int = float


try:
    from _json import encode_basestring_ascii as quote, make_scanner
    scan = make_scanner(Context)
except Exception:
    import json
    quote, scan = json.dumps, json.JSONDecoder(parse_int=float, parse_constant=refuse).scan_once


def skip(text, at):
    while text[at] in " \t\r\n":
        at += 1
    return at


def members(text):
    """{key: (value, source text of the value)} of a JSON object; of a doubled key the last. Raises on anything else."""
    found, at, lead = {}, skip(text, 0), "{"
    while text[at] == lead:
        at = skip(text, at + 1)
        if text[at] != '"':
            if lead == "{":
                break
            refuse(at)
        key, at = scan(text, at)
        at = skip(text, at)
        if text[at] != ":":
            refuse(at)
        at = skip(text, at + 1)
        value, end = scan(text, at)
        found[key] = value, text[at:end]
        at, lead = skip(text, end), ","
    if text[at] != "}" or text[at + 1:].strip(" \t\r\n"):
        refuse(at)
    return found


def one_line(text):
    """The text as one line in which nothing hides: line breaks show, control and direction marks are escaped."""
    text = " ⏎ ".join([line.strip() for line in text.replace("\t", " ").splitlines() if line.strip()])
    if len(text) > 2000:
        text = " ".join(text.split())  # else blanks could push the rest out of sight
        text = text if len(text) <= 2000 else text[:1999] + "…"
    if not text.isprintable():
        text = "".join([c if c.isprintable() else ascii(c)[1:-1] for c in text])
    return text


def tool_detail(tool, arguments, source):
    """One line by which a person can judge a tool call."""
    strings = {key: value for key, value in arguments.items() if type(value) is str and value.strip()}
    if tool.startswith("mcp__"):
        return ", ".join([key + ": " + strings.get(key, shown) for key, (_, shown) in members(source).items()])
    if tool == "AskUserQuestion":
        return arguments["questions"][0]["question"]
    if tool == "ExitPlanMode":
        lines = [line.strip() for line in strings["plan"].splitlines()]
        return [line.lstrip("# ") for line in lines if line.strip("-=# ") and not line.startswith("```")][0]
    told = [key for key in TELLING if key in strings] + [key for key in strings if len(strings[key]) <= 200]
    extra = {"Grep": "path", "Glob": "path", "Skill": "args"}.get(tool)
    return strings[told[0]] + ((" in " if extra == "path" else " ") + strings[extra] if extra in strings else "")


def contents(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except OSError:
        return b""


def process(pid):
    """(name, parent, start time) of a live process by /proc; None for one that has gone, zombies included."""
    name, _, rest = contents("/proc/%d/stat" % pid).partition(b"(")[2].rpartition(b") ")
    fields = rest.split()
    return (name.decode("utf-8", "replace"), int(fields[1]), fields[19]) if fields and fields[0] not in b"ZXx" else None


def alive(pid):
    try:
        return bool(process(pid)) if os.path.exists("/proc/stat") else os.kill(pid, 0) is None
    except OSError as error:
        return type(error) is PermissionError


def lineage(pid):
    while pid > 1:
        seen = process(pid)
        if not seen:
            break
        yield pid, seen[0]
        pid = seen[1]


def is_agent(pid, name):
    words = contents("/proc/%d/cmdline" % pid).split(b"\0")
    return name == "claude" or os.path.basename(words[0]) == b"claude" or (
        name in ("node", "bun", "deno", "MainThread") and b"claude" in b" ".join(words))


def whereabouts():
    """The processes of the agent and of the shell that hosts it. The agent is CLAUDE_PID; else the nearest ancestor of
    the hook that looks like it; else the nearest that is no shell."""
    pid = env("CLAUDE_PID", "")
    pid = int(pid) if pid.isdecimal() and len(pid) < 10 else 0
    if pid < 2 or not alive(pid):
        above = [(pid, name) for pid, name in lineage(os.getppid()) if name not in SHELLS]
        pid = next((pid for pid, name in above if is_agent(pid, name)), above[0][0] if above else os.getppid())
    shells = [above for above, name in lineage(pid) if name in SHELLS and above != pid]
    return pid if pid > 1 else None, shells[0] if shells else None


def has_left(host, agent):
    """Whether another terminal or editor, which was opened from the host and handed its variables, is nearer to the
    agent."""
    near = [name for _, name in lineage(agent) if name in WINDOWED or name == "tmux: server"]
    return near[:1] not in ([], [host])


def terminal(agent):
    """(type, session id). tmux comes first: inside it the variables of the terminal around it may be stale."""
    for place, part, kind, host in (("TMUX", "TMUX_PANE", "tmux-pane", "tmux: server"),
                                    ("KITTY_LISTEN_ON", "KITTY_WINDOW_ID", "kitty-window", "kitty"),
                                    ("KONSOLE_DBUS_SERVICE", "KONSOLE_DBUS_SESSION", "konsole-session", "konsole")):
        if env(place) and env(part) and not (agent and has_left(host, agent)):
            return kind, (env(place).rsplit(",", 2)[0] if place == "TMUX" else env(place)) + "," + env(part)
    program = env("TERM_PROGRAM", "")
    if program == "vscode":
        forks = [name for name in os.environ if name.startswith(("CURSOR_", "WINDSURF_")) and env(name)]
        insiders = "-insiders" if "insider" in env("TERM_PROGRAM_VERSION", "") else ""
        return forks[0].split("_")[0].lower() if forks else "vscode" + insiders, ""
    for name, kind, own in (("KITTY_WINDOW_ID", "kitty", ""), ("ITERM_SESSION_ID", "iterm2", "iTerm.app"),
                            ("TERM_SESSION_ID", "terminal", "Apple_Terminal"),
                            ("GHOSTTY_RESOURCES_DIR", "ghostty", "ghostty"), ("ALACRITTY_WINDOW_ID", "alacritty", ""),
                            ("ALACRITTY_SOCKET", "alacritty", ""),
                            ("WARP_IS_LOCAL_SHELL_SESSION", "warp", "WarpTerminal")):
        if program == own != "" or env(name) and kind not in ("iterm2", "terminal"):
            return kind, env(name, "").split(":")[-1] if name.endswith("_ID") else ""
    return (None, None) if sys.platform == "darwin" else ("x11-window", env("WINDOWID", ""))


# What marks a session's folder holds is told in DIALOGS_AND_WORKTREES.

def session_folder(session):
    if not (session.isascii() and session.replace("-", "").isalnum() and len(session) <= 64):
        from hashlib import sha256  # the identifier comes from outside, and is to be a file's name
        session = "hash-" + sha256(session.encode("utf-8", "surrogatepass")).hexdigest()
    return FOLDER + "/" + session


def marks_of(folder):
    try:
        marks = os.listdir(folder)
        return marks if is_private(FOLDER) else []
    except OSError:
        return []


# The wire.

def connect(port, limit):
    try:
        from _socket import socket, AF_INET, SOCK_STREAM
    except ImportError:
        from socket import socket, AF_INET, SOCK_STREAM
    connection = socket(AF_INET, SOCK_STREAM)
    connection.settimeout(limit)
    connection.connect(("127.0.0.1", port))
    # The port is an ephemeral one: with nobody listening, a connection can meet itself.
    if connection.getsockname() == connection.getpeername():
        refuse(port)
    return connection


def seconds_until(deadline):
    left = deadline - monotonic()
    return left if left > 0 else refuse(deadline)


def send(connection, port, body, deadline):
    # Vantry heeds only a Content-Length that is not the last header line.
    head = ("POST /hook HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nContent-Length: %d\r\n"
            "Content-Type: application/json\r\nConnection: close\r\n\r\n" % (port, len(body)))
    connection.settimeout(seconds_until(deadline))
    connection.sendall(head.encode() + body)


def receive(connection, deadline):
    """The body of a whole answer with status 200, else nothing. Raises when it does not come in time."""
    data, start, end = bytearray(), 0, 0
    while not end or len(data) < end:
        connection.settimeout(seconds_until(deadline))
        piece = connection.recv(65536)
        data += piece
        if not start and b"\r\n\r\n" in data:
            start = data.find(b"\r\n\r\n") + 4
            lines = bytes(data[:start]).lower().split(b"\r\n")
            if not lines[0].startswith(b"http/1.") or lines[0].split()[1:2] != [b"200"]:
                return b""
            end = next((start + int(line[15:]) for line in lines if line.startswith(b"content-length:")), 0)
        if not piece or len(data) > (ANSWER_LIMIT if start else 65536):
            break
    return bytes(data[start:end or None]) if start and len(data) >= end else b""


def post(port, body, limit):
    """Delivers an event and waits, within the limit in seconds, until Vantry has taken it."""
    deadline = monotonic() + limit + len(body) / 64e6
    connection = connect(port, limit)
    send(connection, port, body, deadline)
    receive(connection, deadline)


# One event.

def read_input():
    """The members of the event. It may end before the input does, which its writer can leave open."""
    pieces = []
    while True:
        piece = os.read(0, 1 << 20)
        pieces.append(piece)
        if not piece or piece.rstrip().endswith(b"}"):
            try:
                return members(b"".join(pieces).decode("utf-8", "replace"))
            except Exception:
                if not piece:
                    raise


def json_text(payload):
    return ("{" + ",".join([quote(key) + ":" + source for key, (_, source) in payload.items()]) + "}").encode()


def make_decodable(payload):
    for key in list(payload):
        value, source = payload[key]
        kind = TYPES.get(key)
        if value is None or not kind or type(value) is kind and (key not in PICKY or PICKY[key](value)):
            continue
        if kind is dict:
            payload[key] = {"content": value}, '{"content":' + source + "}"
        else:
            del payload[key]


def main():
    port = int(sys.argv[sys.argv.index("--port") + 1])
    sys.setrecursionlimit(3000)  # Vantry takes values that are nested 512 deep
    payload = read_input()
    make_decodable(payload)

    def given(key):
        return payload.get(key, (None,))[0]

    def add(key, value):
        if value is not None and given(key) is None:
            payload[key] = value, quote(value) if type(value) is str else str(value)

    session, event, tool, arguments, agent_id, prompt = map(
        given, ("session_id", "hook_event_name", "tool_name", "tool_input", "agent_id", "prompt"))
    if type(session) is not str or event == "TaskCompleted" and given("task_id") is not None:
        return  # the latter is one to-do item, not the end of a turn
    typed = not (prompt and prompt.lstrip().startswith(MACHINE))
    if event == "UserPromptSubmit" and not typed:
        del payload["prompt"]

    folder = session_folder(session)
    marks = marks_of(folder)
    if marks or tool in DIALOGS or event in ("PermissionRequest", "WorktreeCreate", "WorktreeRemove"):
        exec(compiled(DIALOGS_AND_WORKTREES), globals())
    if marks:
        settle(folder, marks, event, agent_id, tool, arguments, typed)
    if event == "Notification" and given("notification_type") == "permission_prompt" and any(
            [mark.startswith("ask-") for mark in marks]):
        return  # about the dialog that PreToolUse has announced; another word would contradict it
    if event in ("PreToolUse", "PermissionRequest") and tool in DIALOGS:
        make_mark(folder, "ask-" + tool)
    if event in ("WorktreeCreate", "WorktreeRemove"):
        tend_worktree(event, given("cwd"), given("name"), given("worktree_path"))

    agent, shell = whereabouts()
    kind, place = terminal(agent)
    add("terminal_type", kind)
    add("terminal_session_id", place)
    add("pid", agent)
    add("shell_pid", shell)
    add("project_dir", env("CLAUDE_PROJECT_DIR") or None)
    if tool and arguments:
        try:
            add("tool_detail", one_line(tool_detail(tool, arguments, payload["tool_input"][1])) or None)
        except (AttributeError, LookupError, TypeError):
            pass  # arguments of another form than this tool's
    body = json_text(payload)
    if event != "PermissionRequest":
        post(port, body, 0.8)
        return
    told = {key: payload[key] for key in ("session_id", "cwd", "transcript_path", "tool_name") if key in payload}
    told.update(hook_event_name=(None, '"PostToolUseFailure"'), is_interrupt=(None, "true"))
    request_permission(port, body, folder, waiting_mark(agent_id, tool, arguments) + str(os.getpid()),
                       agent, None if agent_id else json_text(told))
'''


DIALOGS_AND_WORKTREES = r'''
# Marks, by which the hooks of one session tell each other what is open, are FIFOs in the session's own folder:
# "ask-TOOL" while the dialog of a question or plan is open, and "wait-CALL-PID" for each hook that waits for an answer;
# a byte in it says that the terminal has answered. With nothing open there is no such folder.

def forget_yesterday():
    """Clears away what was left a day ago, by hooks and agents that were killed."""
    from time import time
    for name in os.listdir(FOLDER):
        path = FOLDER + "/" + name
        try:
            if os.lstat(path).st_mtime < time() - 86400:
                remove_marks(path, os.listdir(path)) if os.path.isdir(path) else os.unlink(path)
        except OSError:
            pass  # another hook was quicker


def make_mark(folder, name):
    """Makes a mark and opens it. None where no mark can be kept."""
    draft = "%s/draft-%d" % (FOLDER, os.getpid())
    try:
        if not make_private(FOLDER):
            return None
        forget_yesterday()
        os.mkfifo(draft, 0o600)
        mark = os.open(draft, os.O_RDWR | os.O_NONBLOCK)  # before others see it: who reads it, lives
    except OSError:
        return None
    for _ in range(10):  # another hook may remove the emptied folder in between
        try:
            make_private(folder)
            os.rename(draft, folder + "/" + name)
            return mark
        except OSError:
            pass
    os.unlink(draft)
    return None


def remove_marks(folder, marks):
    for mark in marks:
        try:
            os.unlink(folder + "/" + mark)
        except OSError:
            pass
    try:
        os.rmdir(folder)
    except OSError:
        pass


def canonical(value):
    if type(value) is dict:
        return tuple([(key, canonical(value[key])) for key in sorted(value)])
    return [canonical(item) for item in value] if type(value) is list else value


def waiting_mark(agent_id, tool, arguments):
    """How the mark of this call's waiting hook begins. Equal calls at once, which nothing in a request tells apart, and
    the odd pair with equal checksums share it: then a request goes back to the terminal's dialog, and nothing is lost.
    """
    from binascii import crc32
    call = repr((agent_id, tool, None if tool in DIALOGS else canonical(arguments))).encode("utf-8", "surrogatepass")
    return "wait-%s-%08x%x-" % ("sub" if agent_id else "main", crc32(call), len(call))


def settle(folder, marks, event, agent_id, tool, arguments, typed):
    """Takes away the marks that this event ends, and wakes the hooks behind them. A machine-written prompt (not
    `typed`) is queued while a dialog is open and tells nothing about it."""
    over = ()
    if event == "SessionEnd":
        over = ("ask-", "wait-")
    elif event == "SessionStart" or not agent_id and event in ("PreToolUse", "PermissionRequest"):
        over = ("ask-",)  # the main agent has gone on; of an Esc in its dialog no event told
    elif event in ("PostToolUse", "PostToolUseFailure"):
        over = ("ask-%s" % tool, waiting_mark(agent_id, tool, arguments))
    elif not agent_id and (event == "Stop" or event == "UserPromptSubmit" and typed):
        over = ("ask-", "wait-main-")
    gone = [mark for mark in marks if mark.startswith(over)]
    for mark in marks:
        if mark.startswith("wait-"):
            try:
                fifo = os.open(folder + "/" + mark, os.O_WRONLY | os.O_NONBLOCK)
                if mark in gone:
                    os.write(fifo, b"\n")
                os.close(fifo)
            except OSError:  # nobody reads it: its hook was killed
                gone.append(mark)
    if gone:
        remove_marks(folder, gone)


# A permission request.

class Terminated(Exception):
    pass


def start_of(pid):
    return ((pid and process(pid)) or (None,))[-1]


def answer_begins(connection, agent, fifo):
    """Waits. True when an answer comes, False when the terminal has answered or the agent has gone."""
    from select import select
    watched, period, started = [connection.fileno()], 0.5, start_of(agent)
    if fifo is not None:
        watched.append(fifo)
    try:
        watched.append(os.pidfd_open(agent))
        period = None
    except (AttributeError, OSError, TypeError):
        pass  # not everywhere; then the agent is looked for twice a second
    while True:
        ready = select(watched, [], [], period)[0]
        if ready:
            return watched[0] in ready
        if agent and not (alive(agent) and start_of(agent) == started):
            return False


def request_permission(port, body, folder, mark, agent, refusal):
    """Posts the request and waits for its answer, as long as it takes. SIGTERM means that the user said No in the
    terminal, of which no event tells: then the event `refusal`, if there is one, is posted."""
    import signal
    began, connection, fifo, refused = monotonic(), None, None, False

    def terminated(*_):
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        raise Terminated

    try:
        signal.signal(signal.SIGTERM, terminated)
        connection = connect(port, 0.8)
        fifo = make_mark(folder, mark)
        send(connection, port, body, monotonic() + 5 + len(body) / 64e6)
        if answer_begins(connection, agent, fifo):
            answer = receive(connection, monotonic() + 1)
            signal.signal(signal.SIGTERM, signal.SIG_IGN)
            members(answer.decode())
            write(1, answer)
    except Terminated:
        refused = True
    finally:
        if fifo is not None:
            remove_marks(folder, [mark])
        if connection:
            connection.close()
    # After 600 seconds the agent itself gives the hook up, and its dialog stays open.
    if refused and refusal and monotonic() - began < 590 and agent and alive(agent):
        post(port, refusal, 0.25)


def write(file, data):
    while data:
        data = data[os.write(file, data):]


# Worktrees. A registered hook takes the place of the agent's own `git worktree`.

def git(folder, *arguments):
    from subprocess import DEVNULL, PIPE, run
    clean = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}
    done = run(("git", "-C", folder) + arguments, env=dict(clean, GIT_TERMINAL_PROMPT="0"), stdin=DEVNULL, stdout=PIPE,
               stderr=PIPE)
    if done.returncode:
        raise OSError(os.fsdecode(done.stderr).strip())
    return os.fsdecode(done.stdout)


def worktrees(folder):
    """{path: branch} of the repository that the folder belongs to, the main worktree first."""
    found, path = {}, None
    for line in git(folder, "worktree", "list", "--porcelain").splitlines():
        word, _, rest = line.partition(" ")
        if word == "worktree":
            path = os.path.realpath(rest)
            found[path] = None
        elif word == "branch":
            found[path] = rest.replace("refs/heads/", "", 1)
    return found


def create_worktree(cwd, name):
    odd = [part for part in name.split("/") if part.lower() in ("", ".", "..", ".git")]
    if odd or name.startswith("-") or not name.isprintable():
        raise OSError("not a name for a worktree")
    path, branch = cwd + "/.claude/worktrees/" + name, "worktree-" + name
    known = worktrees(cwd)
    if not (os.path.realpath(path) in known and os.path.isdir(path)):
        git(cwd, "worktree", "prune")
        try:
            git(cwd, "show-ref", "--verify", "--quiet", "refs/heads/" + branch)
        except OSError:
            git(cwd, "worktree", "add", "-b", branch, path)
        else:
            git(cwd, "worktree", "add", path, branch)
    write(1, os.fsencode(path) + b"\n")


def remove_worktree(path):
    path = os.path.realpath(path)
    owner, _, name = path.rpartition("/.claude/worktrees/")
    known = worktrees(path)
    main = next(iter(known))
    if not owner or path == main or path not in known or not any(
            (owner + "/").startswith(tree + "/") for tree in known):
        raise OSError("not a worktree of the agent")
    git(main, "worktree", "remove", "--force", path)
    if known[path] == "worktree-" + name:
        git(main, "branch", "-d", known[path])  # refuses when commits would be lost


def tend_worktree(event, cwd, name, path):
    try:
        if event == "WorktreeCreate":
            create_worktree(cwd, name)
        else:
            remove_worktree(path)
    except Exception as error:
        # Without a path the agent says that it has no worktree, as it would when its own git failed.
        write(2, ("vantry_hook: %s: %s\n" % (event, error)).encode("utf-8", "replace"))
'''


def private_folder():
    runtime = os.environ.get("XDG_RUNTIME_DIR", "")
    # Who became another user may have kept the variable.
    if runtime.startswith("/") and os.access(runtime, os.W_OK | os.X_OK) and os.stat(runtime).st_uid == os.geteuid():
        return runtime + "/vantry-hook"
    temporary = os.environ.get("TMPDIR", "")
    return "%s/vantry-hook-%d" % (temporary if temporary.startswith("/") else "/tmp", os.geteuid())


def is_private(folder):
    status = os.lstat(folder)
    return status.st_mode & 0o170077 == 0o040000 and status.st_uid == os.geteuid()


def make_private(folder):
    try:
        os.mkdir(folder, 0o700)
    except FileExistsError:
        pass
    return is_private(folder)


def compiled(text):
    """A text's compiled form, kept for the next run. What it is run from, nobody else can have written, since the
    folder is private; and it is whole, since it carries a checksum."""
    import marshal
    from _imp import source_hash
    version = sys.hexversion
    path = "%s/%s-%s" % (FOLDER, sys.implementation.cache_tag, source_hash(version, text.encode()).hex())
    try:
        if is_private(FOLDER):
            with open(path, "rb") as file:
                kept = file.read()
            if source_hash(version, kept[8:]) == kept[:8]:
                return marshal.loads(kept[8:])
    except OSError:
        pass
    import gc
    gc.disable()  # it would go through all that the compiler makes, again and again
    code = compile(text, __file__, "exec")
    try:
        if make_private(FOLDER):
            data, draft = marshal.dumps(code), "%s.%d" % (path, os.getpid())
            with open(os.open(draft, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600), "wb") as file:
                file.write(source_hash(version, data) + data)
            os.rename(draft, path)
    except OSError:
        pass  # then it is compiled each time
    return code


if __name__ == "__main__":
    try:
        sys.path.pop(0)  # the folder of the user's hooks, which could pass for modules of the library
        FOLDER = private_folder()
        exec(compiled(HOOK))
        main()
    except BaseException:
        pass  # the agent must never see a failure of ours
    os._exit(0)
