#include "datathread.h"

#include "tablemanager.h"

#include <chrono>
#include <string>

DataThread::~DataThread()
{
    m_stopping = true;
    m_thread.join();
}

void DataThread::run()
{
    for (int number = 1; !m_stopping; ++number) {
        const std::string text = std::to_string(number);
        for (const char *type : {"fr", "6d", "3d"})
            m_manager.deliver(type, type + (' ' + text) + "\r\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}
