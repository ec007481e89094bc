// SPDX-License-Identifier: Apache-2.0
#include "board/panel/BoundedServer.h"

#include <unistd.h>

#include "board/panel/PanelRefusal.h"

namespace VelrixBoard {

bool BoundedServer::process_and_close_socket(socket_t socket) {
    {
        const PanelClients::Place place(clients, socket);
        PanelConnection connection(socket, patience);
        Answer(connection);
        clients.Set(PanelClients::State::AWAITED);
        connection.Finish();
    }
    ::close(socket);
    return true;
}

void BoundedServer::Answer(PanelConnection& connection) {
    switch (connection.ReadHead()) {
    case PanelConnection::Head::READ: {
        bool closed = false;
        process_request(connection, true, closed, nullptr);
        return;
    }
    case PanelConnection::Head::TOO_SLOW:
        return Refuse(connection, 408);
    case PanelConnection::Head::TOO_LONG:
        return Refuse(connection, 431);
    case PanelConnection::Head::LINE_TOO_LONG:
        return Refuse(connection, 414);
    case PanelConnection::Head::NOTHING_CAME: // browsers preconnect
        return;
    }
}

} // namespace VelrixBoard
