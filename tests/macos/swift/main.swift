// Runs the Swift side of the platform's analyser, through its C interface, against a platform that
// is played.

import AVFAudio
import Foundation
import Speech
import VorlinSpeech

/// Who is told, from whatever thread.
final class Told: @unchecked Sendable {
    private let changed = NSCondition()
    private var lines: [String] = []

    var context: UnsafeMutableRawPointer { Unmanaged.passUnretained(self).toOpaque() }
    var all: [String] { changed.withLock { lines } }

    static func of(_ context: UnsafeMutableRawPointer?) -> Told {
        Unmanaged.fromOpaque(context!).takeUnretainedValue()
    }
    func add(_ line: String) {
        changed.withLock { lines.append(line); changed.broadcast() }
    }
    /// Waits until so much was told; the limit only ends a test that has failed.
    func wait(for count: Int) -> [String] {
        changed.withLock {
            let limit = Date(timeIntervalSinceNow: 60)
            while lines.count < count, changed.wait(until: limit) {}
            return lines
        }
    }
}

func text(_ pointer: UnsafePointer<CChar>?) -> String { pointer.map { String(cString: $0) } ?? "-" }
let answer: VorlinSpeechAnswer = { Told.of($0).add("answer \(text($1)) \(text($2))") }
let answerFormat: VorlinSpeechFormat = { Told.of($0).add("format \($1) \($2) \($3) \($4)") }
let heard: VorlinSpeechResult = { Told.of($0).add("heard \(text($1)) \($2)") }
let ended: VorlinSpeechEnded = { Told.of($0).add("ended") }

nonisolated(unsafe) var failures = 0
func expect<T: Equatable>(_ found: T, _ wanted: T, line: Int = #line) {
    if found != wanted {
        failures += 1
        print("main.swift:\(line): \(found), not \(wanted)")
    }
}

/// Waits until the platform was asked for so much.
func calls(_ count: Int) -> [String] {
    let limit = Date(timeIntervalSinceNow: 60)
    while platform.calls.count < count, Date() < limit { Thread.sleep(forTimeInterval: 0.001) }
    return platform.calls
}

/// Waits until the analysers are gone, so that what a test leaves behind is not told to the next.
func waitForTheEnd() {
    let limit = Date(timeIntervalSinceNow: 60)
    func count(_ call: String) -> Int { platform.calls.filter { $0 == call }.count }
    while count("analyzer of 1") > count("analyzer gone"), Date() < limit {
        Thread.sleep(forTimeInterval: 0.001)
    }
}

let platform = Platform.shared
let begun = ["transcriber en-GB [volatileResults] 0 0", "analyzer of 1", "start", "results"]

/// An analysis, what it tells, and that it has begun.
func start() -> (UnsafeMutableRawPointer, Told) {
    let told = Told(), begin = Told()
    let analysis = vorlinSpeechStart("en-GB", told.context, heard, ended)!
    vorlinSpeechStarted(analysis, begin.context, answer)
    expect(begin.wait(for: 1), ["answer - -"])
    expect(calls(4), begun)
    return (analysis, told)
}

func answered(_ ask: (UnsafeMutableRawPointer) -> Void) -> [String] {
    let told = Told()
    ask(told.context)
    return told.wait(for: 1)
}

func theAnalysersOwnLocaleIsNamed() {
    platform.locales = ["en": "en_US"]
    expect(answered { vorlinSpeechSupportedLocale("en", $0, answer) }, ["answer en-US -"])
    expect(answered { vorlinSpeechSupportedLocale("tlh", $0, answer) }, ["answer - -"])
    expect(platform.calls, ["supported en", "supported tlh"])
}

func whatIsMissingIsDownloaded() {
    expect(answered { vorlinSpeechInstallAssets("en-GB", $0, answer) }, ["answer - -"])
    expect(platform.calls, [begun[0], "assets of 1", "download"])
    platform.downloadFailure = "No network."
    expect(answered { vorlinSpeechInstallAssets("en-GB", $0, answer) }, ["answer - No network."])
    platform.reset()
    platform.assets = true
    expect(answered { vorlinSpeechInstallAssets("en-GB", $0, answer) }, ["answer - -"])
    expect(platform.calls, [begun[0], "assets of 1"])
}

func theFormatIsThePlatforms() {
    expect(answered { vorlinSpeechBestFormat("en-GB", $0, answerFormat) }, ["format 0.0 0 0 false"])
    platform.format = AVAudioFormat(commonFormat: .pcmFormatInt16, sampleRate: 16000, channels: 1,
                                    interleaved: true)
    expect(answered { vorlinSpeechBestFormat("en-GB", $0, answerFormat) },
           ["format 16000.0 1 3 true"])
    expect(platform.calls.last, "format of 1")
}

func audioGoesInAsItIs() {
    let (analysis, told) = start()
    func input(_ planes: [[Float]], _ frames: UInt32, _ channels: UInt32, _ interleaved: Bool) {
        let copies = planes.map { plane in
            UnsafeRawPointer(UnsafeMutablePointer<Float>.allocate(capacity: plane.count))
        }
        for (copy, plane) in zip(copies, planes) {
            UnsafeMutableRawPointer(mutating: copy)
                .copyMemory(from: plane, byteCount: plane.count * 4)
        }
        copies.map(Optional.init).withUnsafeBufferPointer {
            vorlinSpeechInput(analysis, $0.baseAddress!, frames, 48000, channels, 1, interleaved)
        }
        copies.forEach { $0.deallocate() } // it was copied
    }
    input([[1, 2, 3], [-1, -2, -3]], 3, 2, false)
    input([[4, 5, 6, 7]], 2, 2, true)
    vorlinSpeechInput(analysis, [nil], 1, 48000, 1, 99, true) // no such format
    expect(answered { vorlinSpeechFinish(analysis, $0, answer) }, ["answer - -"])
    let floats = platform.inputs.map { bytes in
        bytes.withUnsafeBytes { $0.loadUnaligned(as: Float.self) }
    }
    expect(platform.inputs.map(\.count), [12, 12, 16])
    expect(floats, [1, -1, 4])
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 1), ["ended"])
}

func everyResultIsToldBeforeTheEndIs() {
    let (analysis, told) = start()
    platform.say("hello", isFinal: false)
    platform.say("hello world", isFinal: true)
    expect(answered { vorlinSpeechFinish(analysis, $0, answer) }, ["answer - -"])
    expect(Array(told.all.prefix(2)), ["heard hello false", "heard hello world true"])
    expect(Array(platform.calls.prefix(6)), begun + ["input ended", "finalize"])
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 3).last, "ended")
    expect(calls(7).last, "analyzer gone")
}

func aCancelEndsIt() {
    let (analysis, told) = start()
    vorlinSpeechCancel(analysis)
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 1), ["ended"])
    expect(Array(calls(7).suffix(3)), ["input ended", "cancel", "analyzer gone"])
}

func whatIsSaidAfterACancelIsNotHeardThoughTheResultsStayOpen() {
    platform.endsResultsOnCancel = false
    let (analysis, told) = start()
    platform.say("in time", isFinal: false)
    expect(told.wait(for: 1), ["heard in time false"])
    vorlinSpeechCancel(analysis)
    platform.say("too late", isFinal: true)
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 2), ["heard in time false", "ended"])
}

func aStartThatFailsSaysWhyAndLeavesNothing() {
    platform.startFailure = "No room."
    let told = Told()
    let analysis = vorlinSpeechStart("en-GB", told.context, heard, ended)!
    expect(answered { vorlinSpeechStarted(analysis, $0, answer) }, ["answer - No room."])
    expect(answered { vorlinSpeechFinish(analysis, $0, answer) }, ["answer - No room."])
    vorlinSpeechCancel(analysis)
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 1), ["ended"])
    expect(calls(5).filter { $0 != "cancel" }, Array(begun.prefix(3)) + ["analyzer gone"])
}

func anEndThatFailsSaysWhyAndLeavesNothingOnceCancelled() {
    let (analysis, told) = start()
    platform.finishFailure = "The analyser stopped."
    expect(answered { vorlinSpeechFinish(analysis, $0, answer) },
           ["answer - The analyser stopped."])
    vorlinSpeechCancel(analysis)
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 1), ["ended"])
    expect(Array(calls(8).suffix(2)), ["cancel", "analyzer gone"])
}

func resultsThatFailAreToldAtTheEnd() {
    let (analysis, told) = start()
    platform.say("hello", isFinal: true)
    platform.failResults("No more.")
    expect(answered { vorlinSpeechFinish(analysis, $0, answer) }, ["answer - No more."])
    vorlinSpeechRelease(analysis)
    expect(told.wait(for: 2), ["heard hello true", "ended"])
}

func anOlderSystemHasNoAnalyser() {
    Platform.isNew = false
    defer { Platform.isNew = true }
    let told = Told()
    expect(vorlinSpeechStart("en-GB", told.context, heard, ended), nil)
    expect(answered { vorlinSpeechSupportedLocale("en", $0, answer) }, ["answer - -"])
    expect(answered { vorlinSpeechInstallAssets("en", $0, answer) }, ["answer - -"])
    expect(answered { vorlinSpeechBestFormat("en", $0, answerFormat) }, ["format 0.0 0 0 false"])
    expect(platform.calls, [])
    expect(told.all, [])
}

let tests: [(String, () -> Void)] = [
    ("theAnalysersOwnLocaleIsNamed", theAnalysersOwnLocaleIsNamed),
    ("whatIsMissingIsDownloaded", whatIsMissingIsDownloaded),
    ("theFormatIsThePlatforms", theFormatIsThePlatforms),
    ("audioGoesInAsItIs", audioGoesInAsItIs),
    ("everyResultIsToldBeforeTheEndIs", everyResultIsToldBeforeTheEndIs),
    ("aCancelEndsIt", aCancelEndsIt),
    ("whatIsSaidAfterACancelIsNotHeardThoughTheResultsStayOpen",
     whatIsSaidAfterACancelIsNotHeardThoughTheResultsStayOpen),
    ("aStartThatFailsSaysWhyAndLeavesNothing", aStartThatFailsSaysWhyAndLeavesNothing),
    ("anEndThatFailsSaysWhyAndLeavesNothingOnceCancelled",
     anEndThatFailsSaysWhyAndLeavesNothingOnceCancelled),
    ("resultsThatFailAreToldAtTheEnd", resultsThatFailAreToldAtTheEnd),
    ("anOlderSystemHasNoAnalyser", anOlderSystemHasNoAnalyser),
]
for (name, test) in tests {
    platform.reset()
    let before = failures
    test()
    waitForTheEnd()
    print(failures == before ? "passed \(name)" : "FAILED \(name)")
}
print("\(tests.count) tests, \(failures) failures")
exit(failures == 0 ? 0 : 1)
