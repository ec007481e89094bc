// SPDX-License-Identifier: Apache-2.0
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>

#include "bench/peers/Contest.h"
#include "bench/peers/Text.h"

namespace {

Bench::Operation LogBy(std::shared_ptr<spdlog::logger> logger) {
    return [logger](int times) {
        for (int i = 0; i < times; ++i)
            logger->info(Bench::RECORD);
    };
}

// With what our records have: time in UTC, level, process, thread; and each in the file when the call returns.
const Bench::Peer file{"record to a file", {"spdlog", [](const std::string& path) {
                                                auto logger = spdlog::basic_logger_mt("file", path);
                                                logger->set_pattern("%Y-%m-%dT%H:%M:%S.%eZ %l [%P:%t] %v",
                                                                    spdlog::pattern_time_type::utc);
                                                logger->flush_on(spdlog::level::info);
                                                return LogBy(logger);
                                            }}};

const Bench::Peer log{"record to the system's log",
                      {"spdlog", [](const std::string&) {
                           return LogBy(spdlog::syslog_logger_mt("log", "peer-bench", LOG_PID, LOG_LOCAL1));
                       }}};

} // namespace
