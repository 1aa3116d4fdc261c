#pragma once

#include <sqlite3.h>

namespace vantry::test {

/// A file layer that stands between SQLite and the real one and fails where a test wants it to. While it exists, it is
/// the layer of every database that is opened. One thread at a time.
class FaultyVfs
{
public:
    enum class Mode { Once, FromThenOn };

    FaultyVfs();
    ~FaultyVfs();
    FaultyVfs(const FaultyVfs &) = delete;
    FaultyVfs &operator=(const FaultyVfs &) = delete;

    /// Fails the call of this number, counted from 1 and from now.
    void failAt(int call, Mode mode);
    /// No call fails any more. Gives back whether one did.
    bool heal();

    /// For the layer's functions: what a call gives that fails with `failure`; SQLITE_OK when it shall not fail.
    [[nodiscard]] int next(int failure);
    [[nodiscard]] sqlite3_vfs &real() { return *m_real; }

private:
    sqlite3_vfs *m_real;
    sqlite3_vfs m_vfs;
    int m_callsLeft { 0 }; ///< 0: none fails.
    Mode m_mode { Mode::Once };
    bool m_failed { false };
};

} // namespace vantry::test
