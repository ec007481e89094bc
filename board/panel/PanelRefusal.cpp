// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelRefusal.h"

#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

namespace VelrixBoard {

namespace {

// Messages for the client. The library answers some requests itself, with only a status.
constexpr struct {
    int status;
    const char* reason; // reason phrase
    const char* text;
} REFUSALS[] = {
    {400, "Bad Request", "this is no HTTP request, or one of its headers is too long"},
    {404, "Not Found", "there is nothing of that name to be read here; what operates the board has to be posted"},
    {405, "Method Not Allowed", "the panel knows GET, HEAD and POST"},
    {408, "Request Timeout", "the request did not come to its end in time"},
    {411, "Length Required", "send the request with a Content-Length"},
    {413, "Content Too Large", "the body of a request may have 4096 bytes"},
    {414, "URI Too Long", "the first line of a request may have 1024 bytes"},
    {415, "Unsupported Media Type", "send the body as it is, without a Content-Encoding"},
    {431, "Request Header Fields Too Large", "the headers of a request may have 32768 bytes"},
};

const auto* FindRefusal(int status) {
    const auto* const found = std::find_if(std::begin(REFUSALS), std::end(REFUSALS),
                                           [status](const auto& refusal) { return refusal.status == status; });
    return found != std::end(REFUSALS) ? found : nullptr;
}

std::string ErrorBody(const std::string& text) {
    return nlohmann::json({{"error", text}}).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

void AnswerError(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(ErrorBody(text), JSON);
}

// With the message above.
void AnswerError(httplib::Response& response, int status) {
    const auto* const refusal = FindRefusal(status);
    AnswerError(response, status,
                refusal != nullptr ? refusal->text : "the panel refuses this with " + std::to_string(status));
}

// Before the library has read anything of the request.
void Refuse(PanelConnection& connection, int status) {
    const auto* const refusal = FindRefusal(status);
    const std::string body = ErrorBody(refusal->text);
    const std::string answer = "HTTP/1.1 " + std::to_string(status) + " " + refusal->reason +
                               "\r\nContent-Type: " + JSON + "\r\nContent-Length: " + std::to_string(body.size()) +
                               "\r\nConnection: close\r\n\r\n" + body;
    connection.write(answer.data(), answer.size());
}

} // namespace VelrixBoard
