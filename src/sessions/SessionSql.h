#pragma once

// The store's SQL. Private to the store.

// Preprocessor text, since string literals can only be joined while they are literals. Their order is the one that
// readSession() counts on.
#define VANTRY_SESSION_COLUMNS                                                                                         \
    "s.id, s.session_id, s.agent_tool, s.project_dir, s.project_name, s.status, s.terminal_type, "                     \
    "s.terminal_session_id, s.terminal_pid, s.shell_pid, s.active_subagent_count, s.is_compacting, "                   \
    "s.last_tool_name, s.last_prompt, s.last_message, s.transcript_path, s.pid_start_time, s.git_branch, "             \
    "s.telegram_topic_id, s.created_at, s.updated_at, s.ended_at"

namespace vantry::sql {

inline constexpr char createSessions[] = R"(
CREATE TABLE IF NOT EXISTS sessions (
    id TEXT PRIMARY KEY,
    session_id TEXT,
    agent_tool TEXT NOT NULL DEFAULT 'claude-code',
    project_dir TEXT,
    project_name TEXT,
    status TEXT,
    terminal_type TEXT,
    terminal_session_id TEXT,
    terminal_pid INTEGER,
    shell_pid INTEGER,
    active_subagent_count INTEGER DEFAULT 0,
    is_compacting INTEGER DEFAULT 0,
    last_tool_name TEXT,
    last_prompt TEXT,
    last_message TEXT,
    transcript_path TEXT,
    pid_start_time REAL,
    git_branch TEXT,
    telegram_topic_id INTEGER,
    created_at TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ', 'now')),
    updated_at TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ', 'now')),
    ended_at TEXT
))";

inline constexpr char createSearch[] =
    "CREATE VIRTUAL TABLE IF NOT EXISTS session_search USING fts5(session_id, project_name, project_dir, git_branch, "
    "prompts, tool_history, summary)";

inline constexpr char createIndexes[] = "CREATE INDEX IF NOT EXISTS idx_sessions_agent_tool ON sessions(agent_tool);"
                                        "CREATE INDEX IF NOT EXISTS idx_sessions_updated_at ON sessions(updated_at);"
                                        "CREATE INDEX IF NOT EXISTS idx_sessions_session_id ON sessions(session_id);";

/// The transcripts that historical sessions came from, pruned ones too, in the order in which they were taken.
inline constexpr char createTakenTranscripts[] =
    "CREATE TABLE IF NOT EXISTS taken_transcripts (path TEXT NOT NULL UNIQUE, stamp TEXT NOT NULL)";

/// Columns that are not in the update keep what the first insert gave them; COALESCE keeps what a record that knows
/// less doesn't tell.
inline constexpr char save[] = R"(
INSERT INTO sessions (id, session_id, agent_tool, project_dir, project_name, status, terminal_type,
    terminal_session_id, terminal_pid, shell_pid, active_subagent_count, is_compacting, last_tool_name, last_prompt,
    last_message, transcript_path, pid_start_time, git_branch, telegram_topic_id, created_at, updated_at, ended_at)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)
ON CONFLICT(id) DO UPDATE SET
    session_id = COALESCE(excluded.session_id, session_id),
    agent_tool = excluded.agent_tool,
    project_dir = COALESCE(excluded.project_dir, project_dir),
    project_name = COALESCE(excluded.project_name, project_name),
    status = excluded.status,
    terminal_type = COALESCE(excluded.terminal_type, terminal_type),
    terminal_session_id = COALESCE(excluded.terminal_session_id, terminal_session_id),
    terminal_pid = COALESCE(excluded.terminal_pid, terminal_pid),
    shell_pid = COALESCE(excluded.shell_pid, shell_pid),
    active_subagent_count = excluded.active_subagent_count,
    is_compacting = excluded.is_compacting,
    last_tool_name = excluded.last_tool_name,
    last_prompt = COALESCE(excluded.last_prompt, last_prompt),
    last_message = excluded.last_message,
    transcript_path = COALESCE(excluded.transcript_path, transcript_path),
    pid_start_time = COALESCE(excluded.pid_start_time, pid_start_time),
    git_branch = COALESCE(excluded.git_branch, git_branch),
    telegram_topic_id = COALESCE(excluded.telegram_topic_id, telegram_topic_id),
    updated_at = excluded.updated_at,
    ended_at = excluded.ended_at)";

inline constexpr char loadAll[] =
    "SELECT " VANTRY_SESSION_COLUMNS " FROM sessions s WHERE s.updated_at > ? ORDER BY s.updated_at DESC";
inline constexpr char loadAllOfTool[] =
    "SELECT " VANTRY_SESSION_COLUMNS " FROM sessions s WHERE s.updated_at > ? AND s.agent_tool = ?"
    " ORDER BY s.updated_at DESC";

// Of sessions with the same updated_at, the three limits below cut between the same two: all walk the index on it
// backwards.
inline constexpr char sessionBeyondLimit[] = "SELECT id FROM sessions ORDER BY updated_at DESC LIMIT 1 OFFSET ?";
inline constexpr char sessionsBeyondLimit[] =
    "SELECT id FROM sessions WHERE id IS NOT NULL ORDER BY updated_at DESC LIMIT ? OFFSET ?";
inline constexpr char deleteSession[] = "DELETE FROM sessions WHERE id = ?";
inline constexpr char pruneSearch[] = "DELETE FROM session_search WHERE session_id IN (SELECT id FROM sessions"
                                      " ORDER BY updated_at DESC LIMIT -1 OFFSET ?)";
inline constexpr char pruneSessions[] =
    "DELETE FROM sessions WHERE id NOT IN (SELECT id FROM sessions ORDER BY updated_at DESC LIMIT ?)";

/// The next two make commits leave the merging of the search index's segments to mergeSearchIndex. At 16 segments the
/// table would merge them all the same, which is put off, too.
inline constexpr char searchMergesByItself[] =
    "SELECT 1 WHERE NOT EXISTS (SELECT 1 FROM session_search_config WHERE k = 'automerge' AND v = 0)";
inline constexpr char leaveSearchUnmerged[] =
    "INSERT INTO session_search(session_search, rank) VALUES ('crisismerge', 1000);"
    "INSERT INTO session_search(session_search, rank) VALUES ('automerge', 0);";
/// Merges about 16 pages' worth of segments, where four or more of one size have gathered.
inline constexpr char mergeSearchIndex[] = "INSERT INTO session_search(session_search, rank) VALUES ('merge', 16)";

inline constexpr char searchTableSource[] = "SELECT sql FROM sqlite_master WHERE name = 'session_search'";
inline constexpr char searchRowsByMatch[] =
    "SELECT rowid, summary FROM session_search WHERE session_search MATCH ? AND session_id = ?";
inline constexpr char searchRowsByScan[] = "SELECT rowid, summary FROM session_search WHERE session_id = ?";
inline constexpr char firstSearchRow[] = "SELECT rowid FROM session_search ORDER BY rowid LIMIT 1";
inline constexpr char lastSearchRow[] = "SELECT rowid FROM session_search ORDER BY rowid DESC LIMIT 1";
inline constexpr char deleteSearchRow[] = "DELETE FROM session_search WHERE rowid = ?";
inline constexpr char deleteSearchRows[] = "DELETE FROM session_search WHERE session_id = ?";
inline constexpr char projectOfSession[] = "SELECT project_name, project_dir, git_branch FROM sessions WHERE id = ?";
inline constexpr char insertSearchRow[] =
    "INSERT INTO session_search(session_id, project_name, project_dir, git_branch,"
    " prompts, tool_history, summary) VALUES (?, ?, ?, ?, ?, ?, ?)";

/// Best first; of equal ones in the order of their insertion.
inline constexpr char searchMatches[] = "SELECT rowid, bm25(session_search) AS score FROM session_search"
                                        " WHERE session_search MATCH ? ORDER BY score, rowid";
/// The session of one search row. CROSS JOIN keeps the planner from starting with all sessions.
inline constexpr char sessionOfSearchRow[] = "SELECT " VANTRY_SESSION_COLUMNS ", ss.summary FROM session_search ss"
                                             " CROSS JOIN sessions s ON s.id = ss.session_id WHERE ss.rowid = ?";
inline constexpr char recentSessions[] =
    "SELECT " VANTRY_SESSION_COLUMNS " FROM sessions s ORDER BY s.updated_at DESC LIMIT ?";

/// Reads the search table once. A join would read it once for every session, since it has no index on session_id.
inline constexpr char sessionsNeedingIndex[] =
    "SELECT s.id FROM sessions s WHERE s.ended_at IS NOT NULL AND s.id NOT IN"
    " (SELECT session_id FROM session_search WHERE session_id IS NOT NULL)";
inline constexpr char clearSearch[] = "DELETE FROM session_search";
inline constexpr char indexedSessions[] = "SELECT session_id FROM session_search";

inline constexpr char sessionExists[] = "SELECT id FROM sessions WHERE id = ?";
inline constexpr char insertHistoricalSession[] =
    "INSERT INTO sessions (id, session_id, agent_tool, project_dir, project_name, status, transcript_path, git_branch,"
    " created_at, updated_at, ended_at) VALUES (?, ?, 'claude-code', ?, ?, 'ready', ?, ?, ?, ?, ?)";

inline constexpr char takenTranscript[] = "SELECT 1 FROM taken_transcripts WHERE path = ? AND stamp = ?";
inline constexpr char rememberTranscript[] = "INSERT OR REPLACE INTO taken_transcripts (path, stamp) VALUES (?, ?)";
/// Nobody tells when a transcript is deleted: so many are far more than agents leave behind.
inline constexpr char forgetOldestTranscripts[] =
    "DELETE FROM taken_transcripts WHERE rowid <= (SELECT max(rowid) FROM taken_transcripts) - 100000";
inline constexpr char forgetTranscripts[] = "DELETE FROM taken_transcripts";

} // namespace vantry::sql

#undef VANTRY_SESSION_COLUMNS
