#include "datathread.h"

#include "tablemanager.h"

#include <chrono>

DataThread::~DataThread()
{
    m_stopping = true;
    m_thread.join();
}

void DataThread::run()
{
    for (int number = 1; !m_stopping; ++number) {
        const std::string ending = ' ' + std::to_string(number) + "\r\n";
        for (const std::string &type : m_types)
            m_manager.deliver(type, type + ending);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}
