// What the platform's analyser asks of AVFAudio, as documented: a format, and a buffer of samples.

/// The streams' description in CoreAudioTypes, as far as it is read.
public struct AudioStreamBasicDescription {
    public var mBytesPerFrame: UInt32
}

public struct AudioBuffer {
    public var mNumberChannels: UInt32
    public var mDataByteSize: UInt32
    public var mData: UnsafeMutableRawPointer?
}

/// coreaudiotypes/audiobufferlist: "A structure that stores a variable-length array of audio
/// buffers."
public struct AudioBufferList {
    public var buffers: [AudioBuffer]
}

public struct UnsafeMutableAudioBufferListPointer: Sequence {
    let list: UnsafeMutablePointer<AudioBufferList>
    public init(_ list: UnsafeMutablePointer<AudioBufferList>) { self.list = list }
    public func makeIterator() -> IndexingIterator<[AudioBuffer]> {
        list.pointee.buffers.makeIterator()
    }
}

/// avfaudio/avaudiocommonformat: "Constants that represent common audio formats."
public enum AVAudioCommonFormat: UInt, Sendable {
    case otherFormat, pcmFormatFloat32, pcmFormatFloat64, pcmFormatInt16, pcmFormatInt32
}

public typealias AVAudioChannelCount = UInt32
public typealias AVAudioFrameCount = UInt32

/// avfaudio/avaudioformat: "An object that represents the format of audio."
public final class AVAudioFormat: @unchecked Sendable {
    public let commonFormat: AVAudioCommonFormat
    public let sampleRate: Double
    public let channelCount: AVAudioChannelCount
    public let isInterleaved: Bool
    private let description: UnsafeMutablePointer<AudioStreamBasicDescription>

    /// init(commonformat:samplerate:channels:interleaved:): "Creates an audio format instance";
    /// the result may be nothing.
    public init?(commonFormat: AVAudioCommonFormat, sampleRate: Double,
                 channels: AVAudioChannelCount, interleaved: Bool) {
        let sizes: [AVAudioCommonFormat: UInt32] = [
            .pcmFormatFloat32: 4, .pcmFormatFloat64: 8, .pcmFormatInt16: 2, .pcmFormatInt32: 4]
        guard let size = sizes[commonFormat], channels > 0 else { return nil }
        self.commonFormat = commonFormat
        self.sampleRate = sampleRate
        channelCount = channels
        isInterleaved = interleaved
        description = .allocate(capacity: 1)
        description.initialize(to: .init(mBytesPerFrame: size * (interleaved ? channels : 1)))
    }

    deinit { description.deallocate() }

    public var streamDescription: UnsafePointer<AudioStreamBasicDescription> { .init(description) }
}

/// avfaudio/avaudiopcmbuffer: "An object that represents an audio buffer you use with PCM audio
/// formats."
public final class AVAudioPCMBuffer {
    public let format: AVAudioFormat
    public let frameCapacity: AVAudioFrameCount
    public var frameLength: AVAudioFrameCount = 0
    private let list: UnsafeMutablePointer<AudioBufferList>

    public init?(pcmFormat: AVAudioFormat, frameCapacity: AVAudioFrameCount) {
        format = pcmFormat
        // No less than asked for.
        self.frameCapacity = frameCapacity + 16
        let bytes = pcmFormat.streamDescription.pointee.mBytesPerFrame * self.frameCapacity
        let planes = pcmFormat.isInterleaved ? 1 : pcmFormat.channelCount
        list = .allocate(capacity: 1)
        list.initialize(to: AudioBufferList(buffers: (0..<planes).map { _ in
            AudioBuffer(mNumberChannels: pcmFormat.channelCount / planes, mDataByteSize: bytes,
                        mData: .allocate(byteCount: Int(bytes), alignment: 16))
        }))
    }

    deinit {
        list.pointee.buffers.forEach { $0.mData?.deallocate() }
        list.deinitialize(count: 1)
        list.deallocate()
    }

    /// mutableaudiobufferlist: "The mDataByteSize fields in this AudioBufferList express the
    /// buffer's current frameCapacity."
    public var mutableAudioBufferList: UnsafeMutablePointer<AudioBufferList> { list }
}
