// Bursts of messages against a logger with a thread of its own. The same harness drives the library and its
// peer, each in a program of its own, so that the replaced operators of the one do not serve the other.
#pragma once

#include <algorithm>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

// What stands on the command line: THREADS LENGTH ROUNDS [INTERVAL].
struct BurstOptions {
    int threads = 0;  // producers; 0: the main thread is the only one
    int length = 0;   // messages of one producer in one round
    int rounds = 0;   // figures are medians of the rounds
    int interval = 0; // microseconds from call to call; 0: as fast as possible
};

// A logger as the harness sees it. finish returns when everything is written.
class BurstLogger {
public:
    virtual ~BurstLogger() = default;
    virtual void start() = 0;
    virtual void log() = 0;
    virtual void finish() = 0;
};

// Nanoseconds of a clock.
inline double burst_clock(clockid_t clock) {
    timespec now;
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

inline double burst_median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// What one producer saw in one round.
struct BurstTimes {
    double begin = 0, end = 0, processor = 0; // ns
};

// One producer. With an interval the clock is polled between the calls, and each call is timed alone.
class BurstProducer {
public:
    BurstProducer(BurstLogger& logger, const BurstOptions& options) : _logger(logger), _options(options) {}

    void produce() {
        const double processor = burst_clock(CLOCK_THREAD_CPUTIME_ID);
        times.begin = burst_clock(CLOCK_MONOTONIC);
        if (_options.interval == 0)
            for (int i = 0; i < _options.length; ++i) _logger.log();
        else
            _log_at_intervals();
        times.end = burst_clock(CLOCK_MONOTONIC);
        times.processor = burst_clock(CLOCK_THREAD_CPUTIME_ID) - processor;
    }

    BurstTimes times;
    std::vector<double> calls; // ns of each call, with an interval

private:
    void _log_at_intervals() {
        double next = times.begin;
        for (int i = 0; i < _options.length; ++i, next += _options.interval * 1e3) {
            double before;
            while ((before = burst_clock(CLOCK_MONOTONIC)) < next) {
            }
            _logger.log();
            calls.push_back(burst_clock(CLOCK_MONOTONIC) - before);
        }
    }

    BurstLogger& _logger;
    const BurstOptions& _options;
};

// Runs the rounds and prints medians, each in nanoseconds for one message:
//   call       until the last call of the burst returned; with an interval, of one call alone
//   producers  processor time of the producers
//   written    from the first call until everything is written
//   process    processor time of all threads until then
class Bursts {
public:
    Bursts(BurstLogger& logger, const BurstOptions& options)
        : _logger(logger), _options(options),
          _producers(static_cast<size_t>(std::max(options.threads, 1)), BurstProducer(logger, options)),
          _barrier(options.threads + 1) {}

    void run() {
        std::vector<std::thread> threads;
        for (int i = 0; i < _options.threads; ++i)
            threads.emplace_back([this, i] { _serve(_producers[static_cast<size_t>(i)]); });
        for (int round = 0; round < _options.rounds; ++round) _round();
        for (std::thread& thread : threads) thread.join();
        if (_options.interval != 0) _call = _producers.front().calls;
        std::printf("call=%.1f producers=%.1f written=%.1f process=%.1f\n", burst_median(_call),
                    burst_median(_processor), burst_median(_written), burst_median(_process));
    }

private:
    static constexpr std::chrono::milliseconds SETTLE{2}; // a new thread is asleep by then

    void _serve(BurstProducer& producer) {
        for (int round = 0; round < _options.rounds; ++round) {
            _barrier.arrive_and_wait();
            producer.produce();
            _barrier.arrive_and_wait();
        }
    }

    void _round() {
        _logger.start();
        std::this_thread::sleep_for(SETTLE);
        const double process = burst_clock(CLOCK_PROCESS_CPUTIME_ID);
        _barrier.arrive_and_wait();
        if (_options.threads == 0) _producers.front().produce();
        _barrier.arrive_and_wait();
        _logger.finish();
        _add(burst_clock(CLOCK_MONOTONIC), burst_clock(CLOCK_PROCESS_CPUTIME_ID) - process);
    }

    void _add(double written_at, double process) {
        double begin = _producers.front().times.begin, end = 0, processor = 0;
        for (const BurstProducer& producer : _producers) {
            begin = std::min(begin, producer.times.begin);
            end = std::max(end, producer.times.end);
            processor += producer.times.processor;
        }
        const double messages = static_cast<double>(_producers.size()) * _options.length;
        _call.push_back((end - begin) / messages);
        _processor.push_back(processor / messages);
        _written.push_back((written_at - begin) / messages);
        _process.push_back(process / messages);
    }

    BurstLogger& _logger;
    const BurstOptions& _options;
    std::vector<BurstProducer> _producers;
    std::barrier<> _barrier; // the producers and the main thread
    std::vector<double> _call, _processor, _written, _process;
};

// False when the command line is not THREADS LENGTH ROUNDS [INTERVAL].
inline bool read_burst_options(int argc, char** argv, BurstOptions* options) {
    if (argc < 4 || argc > 5) return false;
    options->threads = std::atoi(argv[1]);
    options->length = std::atoi(argv[2]);
    options->rounds = std::atoi(argv[3]);
    options->interval = argc == 5 ? std::atoi(argv[4]) : 0;
    return options->threads >= 0 && options->length > 0 && options->rounds > 0 && options->interval >= 0;
}
