// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/select.h>

// poll, select and epoll as the next library has them, but by the board's clock where the board has its own.
namespace VelrixBoard::Preload::TimedPolls {

int Poll(pollfd* waits, nfds_t count, int timeoutMs);
int Ppoll(pollfd* waits, nfds_t count, const timespec* timeout, const sigset_t* signals);
int Select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* timeout);
int Pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, const timespec* timeout,
            const sigset_t* signals);
int EpollWait(int queue, epoll_event* events, int count, int timeoutMs);
int EpollPwait(int queue, epoll_event* events, int count, int timeoutMs, const sigset_t* signals);
int EpollPwait2(int queue, epoll_event* events, int count, const timespec* timeout, const sigset_t* signals);

} // namespace VelrixBoard::Preload::TimedPolls
