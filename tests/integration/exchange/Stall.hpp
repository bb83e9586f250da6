#pragma once

#include "Getting.hpp"
#include "support/Descriptor.hpp"
#include "support/ScriptedServer.hpp"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace exchange_integration
{

/// Opened once; others wait for that.
class Gate
{
public:
    void open();

    /// False if it has not been opened within ten seconds.
    bool wait();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

/// What keeps an exchange waiting in one of its phases: for ever, or so slowly that it would take minutes.
class Stall
{
public:
    Stall();

    Request request() const { return *m_request; }

    /// What the exchange needs to get there; a test adds its limits.
    ExchangeOptions options() const { return m_options; }

    /// Waits until the exchange is in its phase, as far as the outside can tell. False if that takes ten seconds.
    bool waitUntilReached() const { return m_reached(); }

    /// exchange() has returned.
    void setResponded() const { m_responded->open(); }

    /// @name Where exchanges wait
    /// @{
    static std::unique_ptr<Stall> inTheLookUp();
    static std::unique_ptr<Stall> inAConnectToAFullBacklog();
    static std::unique_ptr<Stall> inASilentHandshake();
    static std::unique_ptr<Stall> inAHandshakeThatDrips();
    static std::unique_ptr<Stall> inASendThatNobodyReads();
    static std::unique_ptr<Stall> inASendThatIsReadSlowly();
    static std::unique_ptr<Stall> inASendOverTlsThatNobodyReads();
    static std::unique_ptr<Stall> beforeAContinue();
    static std::unique_ptr<Stall> inASilentHead();
    static std::unique_ptr<Stall> inAHeadThatDrips();
    static std::unique_ptr<Stall> inAHeadThatDripsOverTls();
    static std::unique_ptr<Stall> inAnInterimResponseThatDrips();
    static std::unique_ptr<Stall> inAHeadThatDripsBehindARedirect();
    static std::unique_ptr<Stall> inASilentBody();
    static std::unique_ptr<Stall> inABodyThatDrips();
    static std::unique_ptr<Stall> inABodyThatDripsOverTls();
    static std::unique_ptr<Stall> inABodyToTheCloseThatDrips();
    static std::unique_ptr<Stall> inAChunkThatDrips();
    static std::unique_ptr<Stall> inTheLineOfAChunkThatDrips();
    static std::unique_ptr<Stall> inATrailerThatDrips();
    static std::unique_ptr<Stall> inACompressedBodyThatDrips();
    /// @}

private:
    static std::unique_ptr<Stall> withServer(const std::function<void(zol_test::ServerConnection&, Gate&)>& script,
                                             bool tls = false);
    static std::unique_ptr<Stall> withResponse(const std::string& bytes, const std::string& drip, bool tls = false);
    static std::unique_ptr<Stall> withBody(const std::string& bytes, const std::string& drip, bool tls = false);
    static std::unique_ptr<Stall> withUpload(const std::function<void(zol_test::ServerConnection&)>& behindTheHead,
                                             bool tls = false);

    std::shared_ptr<Gate> m_responded = std::make_shared<Gate>();
    std::shared_ptr<Gate> m_arrived = std::make_shared<Gate>();
    std::function<bool()> m_reached;
    std::optional<Request> m_request;
    ExchangeOptions m_options;
    std::vector<zol_test::Descriptor> m_sockets;
    std::unique_ptr<zol_test::LoopbackSocket> m_listener;
    std::unique_ptr<zol_test::ScriptedServer> m_server;
};

} // namespace exchange_integration
