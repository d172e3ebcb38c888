#pragma once
// A uudecoder for attachment content ("x-uuencode"): GMime's decoder takes the "\r" of CRLF
// lines for data and loses most of the file. This one reads line by line, whatever the line
// ends, and tells when the content ends before its "end" line.
#include <QByteArray>

#include <cstddef>

class UuContentDecoder {
  public:
    // Decodes the next piece of encoded text and appends the bytes to `out`.
    void feed(const char* data, std::size_t size, QByteArray& out);
    // Ends the content; a last line without a line end counts.
    void finish(QByteArray& out);
    // True when the content had no "begin" line or stopped before its end.
    bool damaged() const { return state_ != State::Ended; }

  private:
    enum class State { BeforeBegin, Data, Ended };
    void decodeLine(QByteArray line, QByteArray& out);

    State state_ = State::BeforeBegin;
    QByteArray pending_; // the start of a line whose end has not come yet
};
