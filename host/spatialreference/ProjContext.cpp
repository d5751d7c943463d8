#include <spatialreference/ProjContext.h>

#include <QLoggingCategory>

#include <algorithm>
#include <cctype>
#include <memory>
#include <unordered_map>

Q_LOGGING_CATEGORY(lcProj, "zyn.spatialreference.proj", QtWarningMsg)

namespace SpatialReference {
namespace Proj {
namespace {

// PROJ writes its complaints to stderr by default; route them into Qt's
// logging instead. They are hidden unless the category is enabled: an
// unknown code in a user's file is answered by our own return values, and
// the catalogue logs its own warning when the database is unusable.
void logToQt(void*, int level, const char* message)
{
    if (level <= PJ_LOG_ERROR)
        qCInfo(lcProj, "%s", message);
    else
        qCDebug(lcProj, "%s", message);
}

struct ThreadState {
    PJ_CONTEXT* context = nullptr;
    std::unordered_map<std::string, PJ*> objects;

    ~ThreadState() { clear(); }

    void clear()
    {
        // Objects hold a pointer to the context: free them first.
        for (auto& entry : objects) {
            if (entry.second)
                proj_destroy(entry.second);
        }
        objects.clear();
        if (context) {
            proj_context_destroy(context);
            context = nullptr;
        }
    }
};

ThreadState& state()
{
    thread_local ThreadState s;
    return s;
}

} // namespace

PJ_CONTEXT* threadContext()
{
    ThreadState& s = state();
    if (!s.context) {
        s.context = proj_context_create();
        if (s.context)
            proj_log_func(s.context, nullptr, &logToQt);
    }
    return s.context;
}

PJ* cachedObject(const std::string& key, const std::function<PJ*(PJ_CONTEXT*)>& make)
{
    ThreadState& s = state();
    auto it = s.objects.find(key);
    if (it != s.objects.end())
        return it->second;
    PJ_CONTEXT* ctx = threadContext();
    PJ* object = ctx ? make(ctx) : nullptr;
    s.objects.emplace(key, object);
    return object;
}

void resetThreadState()
{
    state().clear();
}

bool splitCode(const std::string& code, std::string& authority, std::string& number)
{
    const auto colon = code.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 >= code.size())
        return false;
    if (code.find(':', colon + 1) != std::string::npos)
        return false;
    authority = code.substr(0, colon);
    number = code.substr(colon + 1);
    auto blank = [](unsigned char c) { return std::isspace(c) != 0; };
    if (std::any_of(authority.begin(), authority.end(), blank) || std::any_of(number.begin(), number.end(), blank))
        return false;
    // Authority names in PROJ's database are upper case ("EPSG", "IAU_2015").
    std::transform(authority.begin(), authority.end(), authority.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return true;
}

} // namespace Proj
} // namespace SpatialReference
