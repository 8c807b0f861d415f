#ifndef LIBIPC_LOGGER_H
#define LIBIPC_LOGGER_H

#include <array>
#include <atomic>
#include <cstdarg>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

enum LOG_LEVEL : unsigned int {
    LOG_NONE = 0,
    LOG_CRITICAL = 1,
    LOG_ERROR = 2,
    LOG_WARNING = 3,
    LOG_INFO = 4,
    LOG_VERBOSE = 5,
    LOG_DEBUG = 6,
};

// Thresholds per category (0..31, a larger category counts as 0). A line of level L is written
// when L > 0 and L <= the category's threshold. Lines go to standard error as
// "<level> <text>\n", or to the sink a test installs.
class Logger {
public:
    static constexpr unsigned int kCategories = 32;
    using Sink = std::function<void(unsigned int category, LOG_LEVEL level, const std::string& line)>;

    // Constant-initialised, so that other static objects may log from their constructors.
    constexpr Logger()
        : m_threshold(default_thresholds(std::make_index_sequence<kCategories>()))
    {
    }

    bool enabled(unsigned int category, LOG_LEVEL level) const
    {
        if (category >= kCategories)
            category = 0;
        return level > LOG_NONE && level <= m_threshold[category].load(std::memory_order_relaxed);
    }
    bool enabled(LOG_LEVEL level) const { return enabled(0, level); }

    void clog(unsigned int category, LOG_LEVEL level, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void log(LOG_LEVEL level, const char* format, ...) __attribute__((format(printf, 3, 4)));

    // Sets the threshold of every category.
    void set_log_level(LOG_LEVEL level);
    void set_log_level(unsigned int category, LOG_LEVEL level);
    LOG_LEVEL log_level(unsigned int category = 0) const;

    // Null restores standard error. Returns the previous sink. The sink runs under the
    // logger's lock, so it must not log itself.
    Sink set_sink(Sink sink);

private:
    using Thresholds = std::array<std::atomic<unsigned int>, kCategories>;
    template <std::size_t... Category>
    static constexpr Thresholds default_thresholds(std::index_sequence<Category...>)
    {
        return {{((void)Category, LOG_ERROR)...}};
    }

    void write(unsigned int category, LOG_LEVEL level, const char* format, va_list args);

    Thresholds m_threshold;
    std::mutex m_sinkMutex;
    // Behind a pointer: std::function cannot be constant-initialised.
    std::unique_ptr<Sink> m_sink;
};

extern Logger g_log;

#endif
