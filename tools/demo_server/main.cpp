// A small HTTP server on the loopback addresses, for trying out zolget and the library. Pages.hpp lists its pages.

#include "Server.hpp"

#include <CLI/CLI.hpp>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <string>

namespace
{

/// A descriptor that becomes readable on SIGTERM or SIGINT, so that poll(2) can wait for them as well.
demo::Descriptor catchTermination()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return demo::Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
}

/// Serves until standard input ends or a signal arrives.
void serve(std::uint16_t port, std::uint16_t tlsPort, const std::string& certificateFolder)
{
    ::signal(SIGPIPE, SIG_IGN);
    const demo::Descriptor termination = catchTermination();
    std::unique_ptr<demo::Certificates> certificates;
    demo::ContextPtr context;
    demo::Server server;
    std::cout << "port=" << server.listen(port, nullptr);
    if (!certificateFolder.empty())
    {
        certificates = std::make_unique<demo::Certificates>(certificateFolder);
        context = certificates->makeServerContext();
        std::cout << " tls-port=" << server.listen(tlsPort, context.get())
                  << " ca=" << certificates->authorityFile().string();
    }
    std::cout << std::endl;
    server.runUntilReadable({termination.number(), STDIN_FILENO});
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"Serves demonstration pages on the loopback addresses until its standard input ends or it receives "
                 "SIGTERM or SIGINT.\nThe first line on standard output names the ports: port=N [tls-port=N "
                 "ca=FILE]"};
    std::uint16_t port = 0;
    std::uint16_t tlsPort = 0;
    std::string certificateFolder;
    app.add_option("--port", port, "port of the plain server; 0 lets the kernel choose")->capture_default_str();
    const auto folder = app.add_option("--certificate-dir", certificateFolder,
                                       "folder for ca.pem, client.pem and client-key.pem, removed at the end; without "
                                       "it there is no TLS server");
    app.add_option("--tls-port", tlsPort, "port of the TLS server; 0 lets the kernel choose")
        ->capture_default_str()
        ->needs(folder);
    CLI11_PARSE(app, argc, argv);
    try
    {
        serve(port, tlsPort, certificateFolder);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "demo_server: " << error.what() << '\n';
        return 1;
    }
}
