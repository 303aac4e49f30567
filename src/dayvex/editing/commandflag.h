#pragma once

#include <dayvex/dayvex_export.h>

#include <memory>

namespace dayvex {

// The control's one command-in-progress flag: set while a New or Modify
// command of either kind waits for its editor, so that only one editor is open
// at a time. It also tells a waiting command whether its control still exists.
class CommandFlag
{
public:
    CommandFlag() = default;
    ~CommandFlag() { *m_alive = false; }
    CommandFlag(const CommandFlag &) = delete;
    CommandFlag &operator=(const CommandFlag &) = delete;

    bool isSet() const { return m_set; }

private:
    friend class RunningCommand;
    bool m_set = false;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

// Sets the flag while it lives.
class RunningCommand
{
public:
    explicit RunningCommand(CommandFlag &flag)
        : m_flag(flag)
        , m_alive(flag.m_alive)
    {
        m_flag.m_set = true;
    }
    ~RunningCommand()
    {
        if (*m_alive)
            m_flag.m_set = false;
    }
    RunningCommand(const RunningCommand &) = delete;
    RunningCommand &operator=(const RunningCommand &) = delete;

    // False once the control (and the commands with it) went away during a wait.
    bool controlAlive() const { return *m_alive; }

private:
    CommandFlag &m_flag;
    std::shared_ptr<bool> m_alive;
};

} // namespace dayvex
