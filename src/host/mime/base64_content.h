#pragma once
// A base64 decoder for attachment content that keeps going after inner padding: some mailers
// encode in chunks and pad each chunk ("QUI=Q0Q="), which GMime's decoder takes for the end.
// It also tells when bytes were really lost, so a damaged attachment is never passed off as
// whole.
#include <QByteArray>

#include <cstddef>

class Base64ContentDecoder {
  public:
    // Decodes the next piece of encoded text and appends the bytes to `out`. Line ends, blanks
    // and characters outside the alphabet are skipped, as MIME asks.
    void feed(const char* data, std::size_t size, QByteArray& out);
    // Ends the content. A group cut short after two or three characters still gives its bytes.
    void finish(QByteArray& out);
    // True when bits were lost: a lone character before padding or at the end.
    bool damaged() const { return damaged_; }

  private:
    void flushGroup(QByteArray& out);

    unsigned quad_ = 0; // sextets collected in the current group
    int count_ = 0;     // how many of them
    bool damaged_ = false;
};

// Decodes a whole text at once.
QByteArray DecodeBase64Content(const QByteArray& encoded, bool* damaged = nullptr);
