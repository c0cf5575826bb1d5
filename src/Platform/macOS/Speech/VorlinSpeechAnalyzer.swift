// The platform's analyser of speech, which speaks Swift only, for C: see VorlinSpeechAnalyzer.h.

import AVFAudio
import Foundation
import Speech

public typealias Handle = UnsafeMutableRawPointer
public typealias Context = Handle?
public typealias Text = UnsafePointer<CChar>
public typealias Answer = @convention(c) (Context, Text?, Text?) -> Void
public typealias Format = @convention(c) (Context, Double, UInt32, UInt32, Bool) -> Void
public typealias Heard = @convention(c) (Context, Text?, Bool) -> Void
public typealias Ended = @convention(c) (Context) -> Void

/// Tells what comes of `work`, on whatever thread.
private func tell(_ context: Context, _ answer: @escaping Answer,
                  of work: @escaping @Sendable () async throws -> String?) {
    Task {
        do { answer(context, try await work(), nil) }
        catch { answer(context, nil, error.localizedDescription) }
    }
}

@available(macOS 26, *)
private func makeTranscriber(_ locale: Text) -> SpeechTranscriber {
    SpeechTranscriber(locale: Locale(identifier: String(cString: locale)), transcriptionOptions: [],
                      reportingOptions: [.volatileResults], attributeOptions: [])
}

/// One analysis. Its task of results holds it, so that it ends when no result can come any more:
/// after a start that failed, after the last result, or once it was cancelled.
@available(macOS 26, *)
private final class Analysis: @unchecked Sendable {
    private let context: Context
    private let heard: Heard
    private let ended: Ended
    private let analyzer: SpeechAnalyzer
    let input: AsyncStream<AnalyzerInput>.Continuation
    let start: Task<Void, Error>
    private var results: Task<Void, Error>?

    init(_ transcriber: SpeechTranscriber, _ context: Context, _ heard: @escaping Heard,
         _ ended: @escaping Ended) {
        (self.context, self.heard, self.ended) = (context, heard, ended)
        let (sequence, continuation) = AsyncStream<AnalyzerInput>.makeStream()
        input = continuation
        analyzer = SpeechAnalyzer(modules: [transcriber])
        start = Task { [analyzer] in try await analyzer.start(inputSequence: sequence) }
        results = Task { [self] in
            try await start.value
            for try await result in transcriber.results where !Task.isCancelled {
                self.heard(self.context, String(result.text.characters), result.isFinal)
            }
        }
    }

    deinit { ended(context) }

    static func of(_ held: Handle) -> Analysis { Unmanaged.fromOpaque(held).takeUnretainedValue() }

    func finish() async throws {
        try await start.value
        try await analyzer.finalizeAndFinishThroughEndOfInput()
        try await results?.value
    }

    func cancel() {
        input.finish()
        results?.cancel()
        Task { [analyzer] in await analyzer.cancelAndFinishNow() }
    }
}

@_cdecl("vorlinSpeechSupportedLocale")
public func supportedLocale(_ identifier: Text, _ context: Context, _ answer: @escaping Answer) {
    guard #available(macOS 26, *) else { return answer(context, nil, nil) }
    let wanted = Locale(identifier: String(cString: identifier))
    tell(context, answer) {
        await SpeechTranscriber.supportedLocale(equivalentTo: wanted)?.identifier(.bcp47)
    }
}

@_cdecl("vorlinSpeechInstallAssets")
public func installAssets(_ locale: Text, _ context: Context, _ answer: @escaping Answer) {
    guard #available(macOS 26, *) else { return answer(context, nil, nil) }
    let modules = [makeTranscriber(locale)]
    tell(context, answer) {
        let request = try await AssetInventory.assetInstallationRequest(supporting: modules)
        try await request?.downloadAndInstall()
        return nil
    }
}

@_cdecl("vorlinSpeechBestFormat")
public func bestFormat(_ locale: Text, _ context: Context, _ answer: @escaping Format) {
    guard #available(macOS 26, *) else { return answer(context, 0, 0, 0, false) }
    let modules = [makeTranscriber(locale)]
    Task {
        let best = await SpeechAnalyzer.bestAvailableAudioFormat(compatibleWith: modules)
        answer(context, best?.sampleRate ?? 0, best?.channelCount ?? 0,
               UInt32(best?.commonFormat.rawValue ?? 0), best?.isInterleaved ?? false)
    }
}

@_cdecl("vorlinSpeechStart")
public func start(_ locale: Text, _ context: Context, _ heard: @escaping Heard,
                  _ ended: @escaping Ended) -> Handle? {
    guard #available(macOS 26, *) else { return nil }
    let analysis = Analysis(makeTranscriber(locale), context, heard, ended)
    return Unmanaged.passRetained(analysis).toOpaque()
}

// Of an analysis, which there is on a system that is new enough.

@available(macOS 26, *) @_cdecl("vorlinSpeechStarted")
public func started(_ analysis: Handle, _ context: Context, _ answer: @escaping Answer) {
    let start = Analysis.of(analysis).start
    tell(context, answer) { try await start.value; return nil }
}

@available(macOS 26, *) @_cdecl("vorlinSpeechInput")
public func input(_ analysis: Handle, _ planes: UnsafePointer<UnsafeRawPointer>, _ frames: UInt32,
                  _ rate: Double, _ channels: UInt32, _ commonFormat: UInt32, _ interleaved: Bool) {
    guard let type = AVAudioCommonFormat(rawValue: UInt(commonFormat)),
          let format = AVAudioFormat(commonFormat: type, sampleRate: rate, channels: channels,
                                     interleaved: interleaved),
          let buffer = AVAudioPCMBuffer(pcmFormat: format, frameCapacity: frames) else { return }
    buffer.frameLength = frames
    let bytes = Int(frames * format.streamDescription.pointee.mBytesPerFrame)
    let parts = UnsafeMutableAudioBufferListPointer(buffer.mutableAudioBufferList)
    for (plane, part) in parts.enumerated() {
        part.mData?.copyMemory(from: planes[plane], byteCount: bytes)
    }
    Analysis.of(analysis).input.yield(AnalyzerInput(buffer: buffer))
}

@available(macOS 26, *) @_cdecl("vorlinSpeechFinish")
public func finish(_ analysis: Handle, _ context: Context, _ answer: @escaping Answer) {
    let analysis = Analysis.of(analysis)
    analysis.input.finish()
    tell(context, answer) { try await analysis.finish(); return nil }
}

@available(macOS 26, *) @_cdecl("vorlinSpeechCancel")
public func cancel(_ analysis: Handle) { Analysis.of(analysis).cancel() }

@available(macOS 26, *) @_cdecl("vorlinSpeechRelease")
public func release(_ analysis: Handle) { Unmanaged<Analysis>.fromOpaque(analysis).release() }
