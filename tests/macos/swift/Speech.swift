// What the platform's analyser asks of Speech, as documented, played by a test: it notes what it is
// asked, and does what `Platform` says.

import AVFAudio
import Foundation

/// The test's side.
public final class Platform: @unchecked Sendable {
    public static let shared = Platform()

    private let lock = NSLock()
    private var noted: [String] = []
    private var told: AsyncThrowingStream<SpeechTranscriber.Result, any Error>.Continuation?
    private var heard: [[UInt8]] = []

    public var locales: [String: String] = [:]
    public var assets = false
    public var startFailure: String?, finishFailure: String?, downloadFailure: String?
    public var format: AVAudioFormat?
    public var bytesPerBuffer = 0
    /// A cancelled analysis ends its results, as far as one knows.
    public var endsResultsOnCancel = true
    /// Where the system is told to be older: `#available` is compiled as this.
    public static var isNew = true

    public var calls: [String] { lock.withLock { noted } }
    public var inputs: [[UInt8]] { lock.withLock { heard } }

    public func reset() {
        lock.withLock { (noted, heard, told) = ([], [], nil) }
        (locales, assets, format, bytesPerBuffer) = ([:], false, nil, 0)
        (startFailure, finishFailure, downloadFailure) = (nil, nil, nil)
        endsResultsOnCancel = true
    }

    public func say(_ text: String, isFinal: Bool) {
        _ = lock.withLock { told }?.yield(.init(text: AttributedString(text), isFinal: isFinal))
    }

    public func failResults(_ text: String) {
        lock.withLock { told }?.finish(throwing: Failure(text: text))
    }

    func note(_ call: String) { lock.withLock { noted.append(call) } }
    func tell(by stream: AsyncThrowingStream<SpeechTranscriber.Result, any Error>.Continuation) {
        lock.withLock { told = stream }
    }
    func endResults() { lock.withLock { told }?.finish() }
    func hear(_ bytes: [UInt8]) { lock.withLock { heard.append(bytes) } }
    func fail(by text: String?) throws {
        if let text { throw Failure(text: text) }
    }
}

struct Failure: LocalizedError {
    let text: String
    var errorDescription: String? { text }
}

/// speech/speechmodule: "Protocol that all analyzer modules conform to."
public protocol SpeechModule: AnyObject, Sendable {}

/// speech/speechtranscriber: "A speech-to-text transcription module that's appropriate for normal
/// conversation and general purposes."
public final class SpeechTranscriber: SpeechModule {
    public enum TranscriptionOption: Sendable { case etiquetteReplacements }
    public enum ReportingOption: Sendable { case volatileResults, alternativeTranscriptions }
    public enum ResultAttributeOption: Sendable { case audioTimeRange }

    public struct Result: Sendable {
        public let text: AttributedString
        public let isFinal: Bool
    }

    private let stream: AsyncThrowingStream<Result, any Error>

    public init(locale: Locale, transcriptionOptions: Set<TranscriptionOption>,
                reportingOptions: Set<ReportingOption>,
                attributeOptions: Set<ResultAttributeOption>) {
        let (stream, continuation) = AsyncThrowingStream<Result, any Error>.makeStream()
        self.stream = stream
        let reports = reportingOptions.map { "\($0)" }.sorted().joined(separator: " ")
        Platform.shared.note("transcriber \(locale.identifier(.bcp47)) [\(reports)] "
            + "\(transcriptionOptions.count) \(attributeOptions.count)")
        Platform.shared.tell(by: continuation)
    }

    /// speech/speechtranscriber/supportedlocale(equivalentto:)
    public static func supportedLocale(equivalentTo locale: Locale) async -> Locale? {
        let wanted = locale.identifier(.bcp47)
        Platform.shared.note("supported \(wanted)")
        return Platform.shared.locales[wanted].map { Locale(identifier: $0) }
    }

    /// speech/speechtranscriber/results: "An asynchronous sequence containing this module's
    /// analysis results."
    public var results: some Sendable & AsyncSequence<Result, any Error> {
        Platform.shared.note("results")
        return stream
    }
}

/// speech/analyzerinput: "Time-coded audio data."
public struct AnalyzerInput: @unchecked Sendable {
    let buffer: AVAudioPCMBuffer
    public init(buffer: AVAudioPCMBuffer) { self.buffer = buffer }
}

/// speech/speechanalyzer: "Analyzes spoken audio content in various ways and manages the analysis
/// session."
public final actor SpeechAnalyzer {
    public struct Options: Sendable {}
    private var reading: Task<Void, any Error>?

    public init(modules: [any SpeechModule], options: Options? = nil) {
        Platform.shared.note("analyzer of \(modules.count)")
    }

    deinit { Platform.shared.note("analyzer gone") }

    /// speech/speechanalyzer/bestavailableaudioformat(compatiblewith:)
    public static func bestAvailableAudioFormat(
        compatibleWith modules: [any SpeechModule]
    ) async -> AVAudioFormat? {
        Platform.shared.note("format of \(modules.count)")
        return Platform.shared.format
    }

    /// speech/speechanalyzer/start(inputsequence:): "Starts analysis of an input sequence and
    /// returns immediately."
    public func start<InputSequence>(inputSequence: InputSequence) async throws
        where InputSequence: Sendable, InputSequence: AsyncSequence,
              InputSequence.Element == AnalyzerInput {
        Platform.shared.note("start")
        try Platform.shared.fail(by: Platform.shared.startFailure)
        reading = Task {
            for try await input in inputSequence {
                for part in input.buffer.mutableAudioBufferList.pointee.buffers {
                    let bytes = Int(input.buffer.frameLength
                        * input.buffer.format.streamDescription.pointee.mBytesPerFrame)
                    Platform.shared.hear([UInt8](UnsafeRawBufferPointer(start: part.mData,
                                                                        count: bytes)))
                }
            }
            Platform.shared.note("input ended")
        }
    }

    /// speech/speechanalyzer/finalizeandfinishthroughendofinput(): "Finishes analysis after an audio
    /// input sequence has been terminated and fully consumed and the modules’ results are
    /// finalized."
    public func finalizeAndFinishThroughEndOfInput() async throws {
        try await reading?.value
        Platform.shared.note("finalize")
        try Platform.shared.fail(by: Platform.shared.finishFailure)
        Platform.shared.endResults()
    }

    /// speech/speechanalyzer/cancelandfinishnow(): "Finishes analysis immediately."
    public func cancelAndFinishNow() async {
        try? await reading?.value // once its input has ended
        Platform.shared.note("cancel")
        if Platform.shared.endsResultsOnCancel { Platform.shared.endResults() }
    }
}

/// speech/assetinventory: "Manages the assets that are necessary for transcription or other
/// analyses."
public final class AssetInventory {
    /// speech/assetinventory/assetinstallationrequest(supporting:)
    public static func assetInstallationRequest(
        supporting modules: [any SpeechModule]
    ) async throws -> AssetInstallationRequest? {
        Platform.shared.note("assets of \(modules.count)")
        return Platform.shared.assets ? nil : AssetInstallationRequest()
    }
}

public final class AssetInstallationRequest: Sendable {
    /// speech/assetinstallationrequest/downloadandinstall()
    public func downloadAndInstall() async throws {
        Platform.shared.note("download")
        try Platform.shared.fail(by: Platform.shared.downloadFailure)
    }
}
