#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "base/WorkerPool.h"
#include "sessions/GitFacts.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "sessions/SessionStore.h"

#include <QString>

#include <functional>
#include <memory>

namespace vantry {

class DictationService;
class TelegramService;

/// What the view models of the panel work with. All of it must outlive them; and since the tasks of `workers` use
/// `git`, the pool must end before that does.
struct PanelServices
{
    SessionManager &sessionManager;
    /// Told of a session's held requests, too (SessionChanges::touch), since what is shown depends on them.
    SessionChanges &sessionChanges;
    SessionStoring &store;
    const GitFacts &git;
    WorkerPool &workers; ///< For what the user waits for.
    MainQueue &mainQueue;
    const Clock &clock;
    Scheduler &scheduler;
    Defaults &defaults;
    Log &log;
    QString home;                                 ///< The user's home directory.
    TelegramService *telegramService { nullptr }; ///< Null: there is none.
    /// Makes one for whoever takes dictation. Unset: nobody does.
    std::function<std::unique_ptr<DictationService>()> makeDictation {};
};

} // namespace vantry
