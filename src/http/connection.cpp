#include "http/connection.h"

#include "base/secret.h"
#include "http/message_parser.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vorda {

namespace {

using std::chrono::milliseconds;
using Room = ConnectionSeat::Room;

constexpr std::size_t kJoinedPayload = 4'096;
constexpr std::size_t kSendPiece = 131'072;    // per send
constexpr std::size_t kTimedPiece = 1'048'576; // has kSendWait
constexpr int kPiecesAtOnce = 16;              // then it is another connection's turn
constexpr std::string_view kHeadEnd = "\r\n\r\n";

} // namespace

Connection::Connection(std::unique_ptr<ByteStream> stream, const RequestGate& gate,
                       std::unique_ptr<ConnectionSeat> seat, TimePoint now)
    : seat_(std::move(seat)), stream_(std::move(stream)), gate_(gate), deadline_(now),
      phaseEnd_(now + kHeadWait), pieceEnd_(now + kReceiveWait), buffer_(*seat_) {}

Connection::Need Connection::advance(TimePoint now) {
  if (seat_->mustClose()) return end();
  switch (phase_) {
  case Phase::head:
  case Phase::body: return receive(now);
  case Phase::judging:
  case Phase::complete: return Need::thread;
  case Phase::answering: return send(now);
  case Phase::draining: return drain(now);
  case Phase::over: break;
  }
  return Need::over;
}

void Connection::compute(TimePoint now) {
  if (phase_ == Phase::judging) {
    judge(now);
  } else if (phase_ == Phase::complete) {
    handle();
  }
}

// Goes on waiting, or gives up.
Connection::Need Connection::wait(Need need, TimePoint now, TimePoint until) {
  if (now >= until) return need == Need::bytes ? cutOff() : end();
  deadline_ = until;
  return need;
}

Connection::Need Connection::end() {
  phase_ = Phase::over;
  return Need::over;
}

// No more of the request comes. A body is passed on as received.
Connection::Need Connection::cutOff() {
  if (phase_ != Phase::body) return end();
  phase_ = Phase::complete;
  return arrived();
}

Connection::Need Connection::arrived() { return seat_->arrive() ? Need::thread : end(); }

bool Connection::headIsComplete() {
  const std::string_view bytes = buffer_.bytes();
  headLength_ = bytes.find(kHeadEnd, searchedTo_);
  if (headLength_ != std::string_view::npos) return true;
  // The terminator may have begun in the last three bytes.
  searchedTo_ = bytes.size() - std::min<std::size_t>(bytes.size(), 3);
  return false;
}

Connection::Need Connection::receive(TimePoint now) {
  for (int count = 0; count < kPiecesAtOnce; ++count) {
    if (phase_ == Phase::body && buffer_.bytes().size() >= contentLength_) return cutOff();
    if (now >= phaseEnd_) return cutOff();
    std::optional<Need> need = receivePiece(now);
    if (need) return *need;
    if (phase_ == Phase::head && headIsComplete()) {
      phase_ = Phase::judging;
      return arrived();
    }
  }
  return wait(Need::bytes, now, std::min(pieceEnd_, phaseEnd_));
}

// Nothing when there is one piece more.
std::optional<Connection::Need> Connection::receivePiece(TimePoint now) {
  const bool head = phase_ == Phase::head;
  const std::size_t most = head ? kMaxHeadBuffer : kMaxConnectionBytes;
  const auto expected =
      head ? most : static_cast<std::size_t>(std::min<std::uint64_t>(contentLength_, most));
  Room room = Room::denied;
  if (buffer_.keepsPiece()) {
    room = buffer_.appendKept(most, expected);
  } else {
    std::array<char, kReceivePiece> piece;
    const std::optional<std::size_t> size = stream_->receive(piece.data(), piece.size());
    if (!size) return wait(Need::bytes, now, std::min(pieceEnd_, phaseEnd_));
    if (*size == 0) return cutOff();
    room = buffer_.append({piece.data(), *size}, most, expected);
    wipeUnits(piece.data(), *size);
    if (room == Room::later) pieceEnd_ = now + kRoomWait;
  }
  if (room == Room::denied) return end();
  if (room == Room::later) return wait(Need::room, now, pieceEnd_);
  pieceEnd_ = now + kReceiveWait;
  return std::nullopt;
}

void Connection::judge(TimePoint now) {
  phase_ = Phase::over; // unless all goes well
  if (!buffer_.roomFor(headLength_)) return;
  std::optional<ParsedHead> head = parseHead(buffer_.bytes().substr(0, headLength_));
  if (!head || !buffer_.keepFrom(headLength_ + kHeadEnd.size(), headLength_)) return;
  request_ = std::move(head->request);
  request_.address = seat_->address();
  contentLength_ = head->contentLength;
  Admission admission = gate_.admit ? gate_.admit(request_) : Admission{};
  const bool keeps = admission.trust == Trust::key && !admission.refusal;
  if (keeps && !seat_->keep()) return;
  if (!keeps) seat_->wait(); // for the body, or for the answer to be read
  if (admission.refusal) return answerWith(std::move(*admission.refusal));
  if (admission.trust == Trust::none) {
    buffer_.drop();
    return answerWith(handled());
  }
  phase_ = Phase::body;
  phaseEnd_ = now + kBodyWait;
  pieceEnd_ = now + kReceiveWait;
}

void Connection::handle() {
  phase_ = Phase::over;
  if (!seat_->work()) return;
  request_.body = buffer_.take();
  HttpResponse response = handled();
  wipeText(request_.body);
  kept_ = true;
  answerWith(std::move(response));
  seat_->finish();
}

HttpResponse Connection::handled() {
  return gate_.handle ? gate_.handle(request_) : answer(500, "geen handler", "text/plain");
}

void Connection::answerWith(HttpResponse response) {
  std::exchange(request_, {}); // frees what it held, which an assignment alone need not do
  buffer_.drop();
  seat_->tryHold(0);
  response_ = std::move(response);
  responseHead_ = responseHead(response_);
  // A small payload is sent in one piece with the head; a large one is never copied.
  if (response_.payload().size() <= kJoinedPayload) {
    responseHead_.append(response_.payload());
    response_.body = nullptr;
  }
  phase_ = Phase::answering;
}

std::string_view Connection::unsent() const {
  if (sent_ < responseHead_.size()) return std::string_view(responseHead_).substr(sent_);
  return response_.payload().substr(sent_ - responseHead_.size());
}

Connection::Need Connection::send(TimePoint now) {
  for (int count = 0; count < kPiecesAtOnce; ++count) {
    const std::string_view piece = unsent().substr(0, kSendPiece);
    if (piece.empty()) return endSending(now);
    if (sent_ == 0) pieceEnd_ = now + kSendWait;
    const std::optional<std::size_t> size = stream_->send(piece);
    if (!size) return wait(Need::space, now, kept_ ? pieceEnd_ : phaseEnd_);
    if (*size == 0) return end();
    const std::size_t before = sent_;
    sent_ += *size;
    if (sent_ / kTimedPiece != before / kTimedPiece) pieceEnd_ = now + kSendWait;
  }
  return wait(Need::space, now, kept_ ? pieceEnd_ : phaseEnd_);
}

// Closing a connection whose client is still sending would reset it, and the client could lose the
// response. A request that was read to its end needs no such care.
Connection::Need Connection::endSending(TimePoint now) {
  if (kept_) return end();
  stream_->endSending();
  phase_ = Phase::draining;
  pieceEnd_ = now + kDrainWait;
  return drain(now);
}

Connection::Need Connection::drain(TimePoint now) {
  std::array<char, 4'096> bytes;
  while (drained_ < kDrainedBytes && now < pieceEnd_) {
    const std::optional<std::size_t> size = stream_->receive(bytes.data(), bytes.size());
    if (!size) return wait(Need::bytes, now, pieceEnd_);
    if (*size == 0) break;
    drained_ += *size;
  }
  return end();
}

} // namespace vorda
