// The platform's analyser of speech, which speaks Swift only, for C: VorlinSpeechAnalyzer.h says
// what each function does.

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

/// Who is told, on whatever thread.
private struct Told<Callback>: @unchecked Sendable {
    let context: Context
    let callback: Callback
}

extension Told where Callback == Answer {
    func answer(_ work: @escaping @Sendable () async throws -> String?) {
        Task {
            do { callback(context, try await work(), nil) }
            catch { callback(context, nil, error.localizedDescription) }
        }
    }
}

@available(macOS 26, *)
private func makeTranscriber(_ locale: Text) -> SpeechTranscriber {
    SpeechTranscriber(locale: Locale(identifier: String(cString: locale)), transcriptionOptions: [],
                      reportingOptions: [.volatileResults], attributeOptions: [])
}

/// One analysis. Its task of results holds it, so that it ends when no result can come any more.
@available(macOS 26, *)
private final class Analysis: @unchecked Sendable {
    private let heard: Told<Heard>
    private let ended: Told<Ended>
    private let analyzer: SpeechAnalyzer
    let input: AsyncStream<AnalyzerInput>.Continuation
    private var start: Task<Void, Error>?, results: Task<Void, Error>?

    init(_ transcriber: SpeechTranscriber, heard told: Told<Heard>, ended end: Told<Ended>) {
        heard = told
        ended = end
        let (sequence, continuation) = AsyncStream<AnalyzerInput>.makeStream()
        input = continuation
        analyzer = SpeechAnalyzer(modules: [transcriber])
        start = Task { [analyzer] in try await analyzer.start(inputSequence: sequence) }
        results = Task { [self] in
            for try await result in transcriber.results {
                heard.callback(heard.context, String(result.text.characters), result.isFinal)
            }
        }
    }

    deinit { ended.callback(ended.context) }

    static func of(_ held: Handle) -> Analysis { Unmanaged.fromOpaque(held).takeUnretainedValue() }

    func finish(_ told: Told<Answer>) {
        input.finish()
        told.answer { [self] in
            _ = try await start?.value
            try await analyzer.finalizeAndFinishThroughEndOfInput()
            _ = try await results?.value
            return nil
        }
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
    Told(context: context, callback: answer).answer {
        await SpeechTranscriber.supportedLocale(equivalentTo: wanted)?.identifier(.bcp47)
    }
}

@_cdecl("vorlinSpeechInstallAssets")
public func installAssets(_ locale: Text, _ context: Context, _ answer: @escaping Answer) {
    guard #available(macOS 26, *) else { return answer(context, nil, nil) }
    let transcriber = makeTranscriber(locale)
    Told(context: context, callback: answer).answer {
        let request = try await AssetInventory.assetInstallationRequest(supporting: [transcriber])
        try await request?.downloadAndInstall()
        return nil
    }
}

@_cdecl("vorlinSpeechBestFormat")
public func bestFormat(_ locale: Text, _ context: Context, _ answer: @escaping Format) {
    guard #available(macOS 26, *) else { return answer(context, 0, 0, 0, false) }
    let (told, transcriber) = (Told(context: context, callback: answer), makeTranscriber(locale))
    Task {
        let best = await SpeechAnalyzer.bestAvailableAudioFormat(compatibleWith: [transcriber])
        told.callback(told.context, best?.sampleRate ?? 0, best?.channelCount ?? 0,
                      UInt32(best?.commonFormat.rawValue ?? 0), best?.isInterleaved ?? false)
    }
}

@_cdecl("vorlinSpeechStart")
public func start(_ locale: Text, _ context: Context, _ heard: @escaping Heard,
                  _ ended: @escaping Ended) -> Handle? {
    guard #available(macOS 26, *) else { return nil }
    let analysis = Analysis(makeTranscriber(locale), heard: Told(context: context, callback: heard),
                            ended: Told(context: context, callback: ended))
    return Unmanaged.passRetained(analysis).toOpaque()
}

@_cdecl("vorlinSpeechInput")
public func input(_ analysis: Handle, _ planes: UnsafePointer<UnsafeRawPointer>, _ frames: UInt32,
                  _ rate: Double, _ channels: UInt32, _ commonFormat: UInt32, _ interleaved: Bool) {
    guard #available(macOS 26, *), let type = AVAudioCommonFormat(rawValue: UInt(commonFormat)),
          let format = AVAudioFormat(commonFormat: type, sampleRate: rate, channels: channels,
                                     interleaved: interleaved),
          let buffer = AVAudioPCMBuffer(pcmFormat: format, frameCapacity: frames) else { return }
    buffer.frameLength = frames
    let parts = UnsafeMutableAudioBufferListPointer(buffer.mutableAudioBufferList)
    for (plane, part) in parts.enumerated() {
        part.mData?.copyMemory(from: planes[plane], byteCount: Int(part.mDataByteSize))
    }
    Analysis.of(analysis).input.yield(AnalyzerInput(buffer: buffer))
}

@_cdecl("vorlinSpeechFinish")
public func finish(_ analysis: Handle, _ context: Context, _ answer: @escaping Answer) {
    guard #available(macOS 26, *) else { return }
    Analysis.of(analysis).finish(Told(context: context, callback: answer))
}

@_cdecl("vorlinSpeechCancel")
public func cancel(_ analysis: Handle) {
    if #available(macOS 26, *) { Analysis.of(analysis).cancel() }
}

@_cdecl("vorlinSpeechRelease")
public func release(_ analysis: Handle) {
    if #available(macOS 26, *) { Unmanaged<Analysis>.fromOpaque(analysis).release() }
}
