#ifndef TUNNELTREE_H
#define TUNNELTREE_H

#include "message.h"

#include <QString>

// A message tree written on one line: "name params {child} {child}", params in the Params text
// syntax, e.g. "tun_stats {sess sid:i=3 pl:i=5 {conn li:i=1 ri:i=1}}".
inline Message tunnelTree(const QString& text, int& at)
{
    int end = at;
    while (end < text.size() && text[end] != '{' && text[end] != '}')
        ++end;
    const QString head = text.mid(at, end - at).trimmed();
    Message msg(head.section(' ', 0, 0).toStdString(), Params(head.section(' ', 1).toUtf8().constData()));
    for (at = end; at < text.size() && text[at] != '}'; ++at) {
        if (text[at] == '{')
            msg.add_child(tunnelTree(text, ++at));
    }
    return msg;
}

inline Message tunnelTree(const QString& text)
{
    int at = 0;
    return tunnelTree(text, at);
}

#endif
