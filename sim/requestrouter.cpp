#include "requestrouter.h"

#include <utility>

void RequestRouter::add(const std::string& requestName, Handler handler)
{
    m_byName[requestName] = std::move(handler);
}

void RequestRouter::addPath(const std::string& requestName, const std::string& pathPrefix, Handler handler)
{
    m_byPath[requestName][pathPrefix] = std::move(handler);
}

bool RequestRouter::dispatch(const Message& request, Reply& reply) const
{
    const Handler* handler = findPathHandler(request.name, request.params().get_string("path", ""));
    if (!handler) {
        auto named = m_byName.find(request.name);
        handler = named == m_byName.end() ? nullptr : &named->second;
    }
    if (!handler)
        return false;
    (*handler)(request, reply);
    return true;
}

const RequestRouter::Handler* RequestRouter::findPathHandler(const std::string& requestName,
                                                             const std::string& path) const
{
    auto routes = m_byPath.find(requestName);
    if (routes == m_byPath.end())
        return nullptr;
    std::string prefix = path;
    for (;;) {
        auto route = routes->second.find(prefix);
        if (route != routes->second.end())
            return &route->second;
        const std::string::size_type dot = prefix.rfind('.');
        if (dot == std::string::npos)
            return nullptr;
        prefix.erase(dot);
    }
}
