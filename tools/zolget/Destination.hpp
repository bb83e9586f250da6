#pragma once

#include "zol/http/ExchangeResponse.hpp"
#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace zolget
{

/// Where the body of a response goes, part by part. A body that is not multipart, or not to be taken apart, counts as one
/// part. All throw Failure (LOCAL_FILE).
class Destination
{
public:
    Destination() = default;
    virtual ~Destination();
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    /// Adds the headers that ask for what is missing here.
    virtual void prepare(ZOLNS2::HTTP::RequestBuilder& /*request*/) const {}

    /// Looks at the head of a response. Also throws Failure (MALFORMED) if its body is not what was asked for.
    /// @return whether everything that the response is about is here already, although its status may say otherwise
    virtual bool accept(const ZOLNS2::HTTP::ExchangeResponse& /*response*/) { return false; }

    /// How many parts of a multipart body it takes; 0 if the body is not to be taken apart.
    virtual std::size_t mostParts() const { return std::numeric_limits<std::size_t>::max(); }

    /// The next part, which has this type, begins.
    virtual void beginPart(const ZOLNS2::MIME::ContentTypeHeader& type) = 0;

    /// Takes bytes of the part.
    virtual void write(std::string_view bytes) = 0;

    /// The part is complete; it has `length` bytes.
    virtual void endPart(std::uint64_t length) = 0;

    /// The body is complete.
    virtual void complete() = 0;

    virtual bool isTerminal() const { return false; }

    /// Whether something of the body has gone where it cannot be taken back, so that it must not be fetched again.
    virtual bool hasDelivered() const = 0;

    /// What to tell the user of a body that was cut: what is kept. Empty if nothing is.
    virtual const char* keptText() const { return ""; }
};

} // namespace zolget
