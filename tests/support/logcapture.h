#ifndef LOGCAPTURE_H
#define LOGCAPTURE_H

#include "logger.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

// Every g_log error line while it exists, and every line when asked to log at `threshold`.
class LogCapture {
public:
    explicit LogCapture(LOG_LEVEL threshold = g_log.log_level())
        : m_previousThreshold(g_log.log_level())
    {
        g_log.set_log_level(threshold);
        m_previous = g_log.set_sink([this](unsigned int, LOG_LEVEL level, const std::string& line) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_all += line + '\n';
            if (level == LOG_ERROR)
                m_errors += line + '\n';
        });
    }
    ~LogCapture()
    {
        g_log.set_sink(m_previous);
        g_log.set_log_level(m_previousThreshold);
    }
    std::string all()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_all;
    }
    std::size_t lineCount()
    {
        const std::string text = all();
        return std::count(text.begin(), text.end(), '\n');
    }

    // Polls for up to five seconds for an error line containing `text`.
    bool wait_for_error(const std::string& text)
    {
        for (int i = 0; i < 2500; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_errors.find(text) != std::string::npos)
                return true;
        }
        return false;
    }

private:
    const LOG_LEVEL m_previousThreshold;
    Logger::Sink m_previous;
    std::mutex m_mutex;
    std::string m_all;
    std::string m_errors;
};

#endif
