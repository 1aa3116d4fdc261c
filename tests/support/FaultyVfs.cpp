#include "support/FaultyVfs.h"

#include <new>

namespace vantry::test {
namespace {

/// SQLite's memory for one file: this, and the real layer's file behind it.
struct File : sqlite3_file
{
    FaultyVfs *layer;

    [[nodiscard]] sqlite3_file *real() { return reinterpret_cast<sqlite3_file *>(this + 1); }
};

File &fileOf(sqlite3_file *file)
{
    return *static_cast<File *>(file);
}

FaultyVfs &layerOf(sqlite3_vfs *vfs)
{
    return *static_cast<FaultyVfs *>(vfs->pAppData);
}

/// Calls the function of the real file, unless this call shall fail.
template <auto Method, int Failure, typename... Arguments>
int guarded(sqlite3_file *file, Arguments... arguments)
{
    File &own = fileOf(file);
    if (const int failure = own.layer->next(Failure))
        return failure;
    return (own.real()->pMethods->*Method)(own.real(), arguments...);
}

template <auto Method, typename Result, typename... Arguments>
Result passed(sqlite3_file *file, Arguments... arguments)
{
    sqlite3_file *real = fileOf(file).real();
    return (real->pMethods->*Method)(real, arguments...);
}

using M = sqlite3_io_methods;

// Closing and unlocking don't fail in a way that anybody could answer to.
const sqlite3_io_methods methods {
    .iVersion = 2,
    .xClose = passed<&M::xClose, int>,
    .xRead = guarded<&M::xRead, SQLITE_IOERR_READ>,
    .xWrite = guarded<&M::xWrite, SQLITE_FULL>,
    .xTruncate = guarded<&M::xTruncate, SQLITE_IOERR_TRUNCATE>,
    .xSync = guarded<&M::xSync, SQLITE_IOERR_FSYNC>,
    .xFileSize = guarded<&M::xFileSize, SQLITE_IOERR_FSTAT>,
    .xLock = guarded<&M::xLock, SQLITE_IOERR_LOCK>,
    .xUnlock = passed<&M::xUnlock, int>,
    .xCheckReservedLock = guarded<&M::xCheckReservedLock, SQLITE_IOERR_CHECKRESERVEDLOCK>,
    .xFileControl = passed<&M::xFileControl, int>,
    .xSectorSize = passed<&M::xSectorSize, int>,
    .xDeviceCharacteristics = passed<&M::xDeviceCharacteristics, int>,
    .xShmMap = guarded<&M::xShmMap, SQLITE_IOERR_SHMMAP>,
    .xShmLock = passed<&M::xShmLock, int>,
    .xShmBarrier = passed<&M::xShmBarrier, void>,
    .xShmUnmap = passed<&M::xShmUnmap, int>,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int openFile(sqlite3_vfs *vfs, const char *name, sqlite3_file *memory, int flags, int *outFlags)
{
    FaultyVfs &layer = layerOf(vfs);
    File *file = new (memory) File {};
    file->layer = &layer;
    if (const int failure = layer.next(SQLITE_CANTOPEN))
        return failure;
    const int result = layer.real().xOpen(&layer.real(), name, file->real(), flags, outFlags);
    if (file->real()->pMethods)
        file->pMethods = &methods;
    return result;
}

int deleteFile(sqlite3_vfs *vfs, const char *name, int syncFolder)
{
    FaultyVfs &layer = layerOf(vfs);
    if (const int failure = layer.next(SQLITE_IOERR_DELETE))
        return failure;
    return layer.real().xDelete(&layer.real(), name, syncFolder);
}

int accessFile(sqlite3_vfs *vfs, const char *name, int flags, int *result)
{
    FaultyVfs &layer = layerOf(vfs);
    if (const int failure = layer.next(SQLITE_IOERR_ACCESS))
        return failure;
    return layer.real().xAccess(&layer.real(), name, flags, result);
}

int fullPath(sqlite3_vfs *vfs, const char *name, int size, char *result)
{
    FaultyVfs &layer = layerOf(vfs);
    if (const int failure = layer.next(SQLITE_CANTOPEN))
        return failure;
    return layer.real().xFullPathname(&layer.real(), name, size, result);
}

} // namespace

FaultyVfs::FaultyVfs()
    : m_real(sqlite3_vfs_find(nullptr))
    , m_vfs(*m_real)
{
    m_vfs.szOsFile = static_cast<int>(sizeof(File)) + m_real->szOsFile;
    m_vfs.zName = "faulty";
    m_vfs.pAppData = this;
    m_vfs.pNext = nullptr;
    m_vfs.xOpen = openFile;
    m_vfs.xDelete = deleteFile;
    m_vfs.xAccess = accessFile;
    m_vfs.xFullPathname = fullPath;
    sqlite3_vfs_register(&m_vfs, 1);
}

FaultyVfs::~FaultyVfs()
{
    sqlite3_vfs_unregister(&m_vfs);
    sqlite3_vfs_register(m_real, 1);
}

void FaultyVfs::failAt(int call, Mode mode)
{
    m_callsLeft = call;
    m_mode = mode;
    m_failed = false;
}

bool FaultyVfs::heal()
{
    m_callsLeft = 0;
    return m_failed;
}

int FaultyVfs::next(int failure)
{
    if (m_callsLeft == 0)
        return SQLITE_OK;
    if (m_callsLeft > 1) {
        --m_callsLeft;
        return SQLITE_OK;
    }
    m_failed = true;
    if (m_mode == Mode::Once)
        m_callsLeft = 0;
    return failure;
}

} // namespace vantry::test
