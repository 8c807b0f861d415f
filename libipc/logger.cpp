#include "logger.h"

#include <cstdio>

#include <unistd.h>

Logger g_log;

namespace {

unsigned int category_index(unsigned int category)
{
    return category < Logger::kCategories ? category : 0;
}

std::string format_text(const char* format, va_list args)
{
    char small[256];
    va_list retry;
    va_copy(retry, args);
    const int length = std::vsnprintf(small, sizeof small, format, args);
    std::string text;
    if (length < 0) {
        text = format;
    } else if (static_cast<std::size_t>(length) < sizeof small) {
        text.assign(small, static_cast<std::size_t>(length));
    } else {
        text.resize(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, retry);
        text.resize(static_cast<std::size_t>(length));
    }
    va_end(retry);
    return text;
}

// One write(2) per line, so that lines of concurrent threads never interleave. Nothing here installs
// a signal handler, so a blocking write is never cut short by one.
void write_stderr(const std::string& line)
{
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace

void Logger::clog(unsigned int category, LOG_LEVEL level, const char* format, ...)
{
    if (!enabled(category, level))
        return;
    va_list args;
    va_start(args, format);
    write(category, level, format, args);
    va_end(args);
}

void Logger::log(LOG_LEVEL level, const char* format, ...)
{
    if (!enabled(0, level))
        return;
    va_list args;
    va_start(args, format);
    write(0, level, format, args);
    va_end(args);
}

void Logger::set_log_level(LOG_LEVEL level)
{
    for (auto& threshold : m_threshold)
        threshold.store(level, std::memory_order_relaxed);
}

void Logger::set_log_level(unsigned int category, LOG_LEVEL level)
{
    m_threshold[category_index(category)].store(level, std::memory_order_relaxed);
}

LOG_LEVEL Logger::log_level(unsigned int category) const
{
    return static_cast<LOG_LEVEL>(m_threshold[category_index(category)].load(std::memory_order_relaxed));
}

Logger::Sink Logger::set_sink(Sink sink)
{
    std::lock_guard<std::mutex> guard(m_sinkMutex);
    Sink previous = m_sink ? std::move(*m_sink) : Sink();
    m_sink = sink ? std::make_unique<Sink>(std::move(sink)) : nullptr;
    return previous;
}

void Logger::write(unsigned int category, LOG_LEVEL level, const char* format, va_list args)
{
    const std::string text = format_text(format, args);
    {
        std::lock_guard<std::mutex> guard(m_sinkMutex);
        if (m_sink) {
            (*m_sink)(category_index(category), level, text);
            return;
        }
    }
    write_stderr(std::to_string(level) + ' ' + text + '\n');
}
