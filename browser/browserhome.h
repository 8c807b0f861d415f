#ifndef BROWSERHOME_H
#define BROWSERHOME_H

// The browser's start page until the user-interface settings name one: a public web search page.
inline constexpr char kDefaultBrowserHome[] = "https://duckduckgo.com/";

#endif
