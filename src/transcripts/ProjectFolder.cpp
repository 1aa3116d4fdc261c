#include "transcripts/ProjectFolder.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits.h>
#include <set>
#include <tuple>

namespace vantry {
namespace {

/// The depth-first search over all readings of a name, without those that can't lead anywhere: one in which a directory
/// is missing, and one that goes on from a directory and a place in the name from which another has failed.
class Search
{
public:
    /// `name` is what stands behind the first dash.
    explicit Search(std::string_view name)
        : m_name(name)
    {}

    /// Reads the rest of the name, from `begin` on, as a path under the directory.
    std::optional<std::string> resolve(const std::string &directory, std::size_t begin)
    {
        struct stat status
        {};
        // The empty path stands for the root.
        if (::stat(directory.empty() ? "/" : directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
            return std::nullopt;
        const std::tuple place { status.st_dev, status.st_ino, begin };
        if (m_deadEnds.contains(place))
            return std::nullopt;

        // The longest first: a dash comes before a slash.
        const std::string_view rest = m_name.substr(begin);
        if (rest.size() <= NAME_MAX) {
            std::string path = directory + '/' + std::string(rest);
            if (::stat(path.c_str(), &status) == 0)
                return path;
        }
        for (std::size_t dash = rest.rfind('-'); dash != std::string_view::npos;
             dash = dash == 0 ? std::string_view::npos : rest.rfind('-', dash - 1)) {
            if (dash > NAME_MAX)
                continue;
            if (auto path = resolve(directory + '/' + std::string(rest.substr(0, dash)), begin + dash + 1))
                return path;
        }
        m_deadEnds.insert(place);
        return std::nullopt;
    }

private:
    const std::string_view m_name;
    std::set<std::tuple<dev_t, ino_t, std::size_t>> m_deadEnds;
};

} // namespace

std::optional<std::string> resolveProjectFolder(std::string_view name)
{
    // Every directory's path begins with a slash.
    if (!name.starts_with('-') || name.find('\0') != std::string_view::npos)
        return std::nullopt;
    std::string plain(name);
    std::ranges::replace(plain, '-', '/');
    struct stat status
    {};
    if (::stat(plain.c_str(), &status) == 0)
        return plain;
    return Search(name.substr(1)).resolve({}, 0);
}

} // namespace vantry
