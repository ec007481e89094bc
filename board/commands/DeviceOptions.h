// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace CLI {
class App;
}

namespace VelrixBoard {

struct BoardOptions;

// Adds the options that break the device: "--fault".
void AddDeviceOptions(CLI::App& app, BoardOptions& options);

} // namespace VelrixBoard
