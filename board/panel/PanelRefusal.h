// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <httplib.h>

#include "board/panel/PanelConnection.h"

namespace VelrixBoard {

// The media type of the panel's answers.
inline constexpr const char* JSON = "application/json";

// Answers with {"error": TEXT}.
void AnswerError(httplib::Response& response, int status, const std::string& text);

// The same with the panel's message for the status.
void AnswerError(httplib::Response& response, int status);

// The same before the library has read anything of the request.
void Refuse(PanelConnection& connection, int status);

} // namespace VelrixBoard
