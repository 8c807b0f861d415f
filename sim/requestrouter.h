#ifndef SIM_REQUESTROUTER_H
#define SIM_REQUESTROUTER_H

#include "message.h"

#include <functional>
#include <map>
#include <string>

class Reply;

// Maps a request to its handler: by the request's name, or, for requests that address the
// configuration tree, by name and the longest registered prefix of their "path".
class RequestRouter {
public:
    using Handler = std::function<void(const Message& request, Reply& reply)>;

    void add(const std::string& requestName, Handler handler);
    // `pathPrefix` matches a path equal to it or continuing with "." after it.
    void addPath(const std::string& requestName, const std::string& pathPrefix, Handler handler);

    // False when no handler takes the request.
    bool dispatch(const Message& request, Reply& reply) const;

private:
    const Handler* findPathHandler(const std::string& requestName, const std::string& path) const;

    std::map<std::string, Handler> m_byName;
    std::map<std::string, std::map<std::string, Handler>> m_byPath;
};

#endif
