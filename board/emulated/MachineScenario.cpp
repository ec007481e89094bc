// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineScenario.h"

namespace VelrixBoard {

void RefuseWhatTheMachineCannot(const Scenario& scenario) {
    for (const Step& step : scenario.steps) {
        const auto* action = std::get_if<Do>(&step.what);
        const Condition* condition = ConditionOf(step);
        const std::string place =
            scenario.path + ":" + std::to_string(step.line) + ":" + std::to_string(step.column) + ": ";
        if (action && std::holds_alternative<InjectFault>(action->action))
            throw ScenarioError(place + "the emulated board's value files are the real kernel's and cannot be broken; "
                                        "play this scenario on velrix-board");
        if (condition && std::holds_alternative<LogHas>(*condition))
            throw ScenarioError(place + "the emulated board's logs are not seen from outside; play this scenario on "
                                        "velrix-board");
    }
}

} // namespace VelrixBoard
