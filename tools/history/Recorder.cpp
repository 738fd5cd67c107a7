// A transaction waits for the disk, the jobs must not: they leave what they have at a place from
// which the thread takes it.

#include "history/Recorder.h"

#include "history/Database.h"
#include "history/Store.h"
#include "text/Literals.h"

#include <iterator>
#include <system_error>
#include <utility>

using namespace history;
using namespace kelvarune;

namespace {

constexpr std::chrono::seconds BETWEEN_TRANSACTIONS(1);

template <typename T>
void moveTo(std::vector<T> &records, std::vector<T> &more) {
  std::move(more.begin(), more.end(), std::back_inserter(records));
}

} // namespace

Recorder::Recorder(const QString &path, run_t run) : path(path), run(std::move(run)) {
  try {
    thread = std::thread([this] { work(); });
  } catch (const std::system_error &error) {
    fault = QString::fromLocal8Bit(error.what());
    written = true;
  }
}

Recorder::~Recorder() {
  std::unique_lock lock(mutex);
  over = true;
  changed.notify_all();
  changed.wait(lock, [this] { return written; });
  joinThread();
}

// `mutex` is held: a stop may call `end` while the run ends by itself. The thread does not take it
// any more once all is written.
void Recorder::joinThread() {
  if (thread.joinable())
    thread.join();
}

void Recorder::add(mechanism_t mechanism) {
  const std::lock_guard lock(mutex);
  if (!written)
    waiting.mechanisms.push_back(std::move(mechanism));
}

void Recorder::add(prover_t prover) {
  const std::lock_guard lock(mutex);
  if (!written)
    waiting.provers.push_back(std::move(prover));
}

void Recorder::add(entry_t entry) {
  const std::lock_guard lock(mutex);
  if (!written)
    waiting.entries.push_back(std::move(entry));
}

QString Recorder::end(int exitStatus, std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex);
  if (std::exchange(told, true))
    return QString();
  status = exitStatus;
  over = true;
  changed.notify_all();
  if (!changed.wait_for(lock, patience, [this] { return written; }))
    return path + ": not all of this run is in the history: it cannot be written now"_s;
  joinThread();
  return fault.isEmpty() ? QString()
                         : "%1: %2; not all of this run is in the history"_s.arg(path, fault);
}

void Recorder::work() {
  std::unique_ptr<Store> store;
  batch_t batch; // kept when somebody else writes for long
  std::unique_lock lock(mutex);
  while (!written) {
    changed.wait_for(lock, BETWEEN_TRANSACTIONS, [this] { return over; });
    moveTo(batch.mechanisms, waiting.mechanisms);
    moveTo(batch.provers, waiting.provers);
    moveTo(batch.entries, waiting.entries);
    waiting = batch_t();
    const bool isLast = over;
    lock.unlock();
    QString failure;
    bool isBusy = false;
    try {
      write(store, batch, isLast);
      batch = batch_t();
    } catch (const Failure &found) {
      failure = QString::fromUtf8(found.what());
      isBusy = found.kind == Failure::kind_t::BUSY;
    }
    if (isLast || (!failure.isEmpty() && !isBusy))
      store.reset(); // the file is closed when `end` returns
    lock.lock();
    written = isLast || (!failure.isEmpty() && !isBusy);
    fault = written ? failure : QString();
  }
  changed.notify_all();
}

void Recorder::write(std::unique_ptr<Store> &store, const batch_t &batch, bool isLast) {
  if (!store)
    store = std::make_unique<Store>(path, run);
  const bool hasEnd = isLast && status; // it is set before `over` is, and not changed after
  if (hasEnd || !batch.isEmpty())
    store->write(batch, hasEnd ? status : std::nullopt);
}
