#include "datathreads.h"

#include "checkhost.h"

#include <chrono>
#include <string>

namespace {

void pause()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

DataThreads::DataThreads(CheckHost &host, int count)
    : m_host(host)
{
    m_threads.emplace_back([this] { deliverFrames(); });
    for (int i = 1; i < count; ++i)
        m_threads.emplace_back([this, last = i == count - 1] { deliverLines(last); });
}

DataThreads::~DataThreads()
{
    m_stopping = true;
    for (std::thread &thread : m_threads)
        thread.join();
}

void DataThreads::deliverFrames()
{
    for (int number = 1; !m_stopping; ++number) {
        const std::string text = std::to_string(number);
        for (const char *type : {"fr", "6d", "mk"})
            m_host.deliver(type, type + (' ' + text) + "\r\n");
        pause();
    }
}

void DataThreads::deliverLines(bool withResets)
{
    for (int number = 1; !m_stopping; ++number) {
        m_host.deliver("3d", "3d " + std::to_string(number) + "\r\n");
        if (withResets && number % 50 == 0)
            m_host.reset();
        pause();
    }
}
