#include "SoundElements.h"

#include "SilenceShortener.h"
#include "VEXA.Runtime.Mutex.h"
#include "VoiceLeveller.h"

#include <gst/gst.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vexa::host {

namespace {

constexpr GstClockTimeDiff kTolerance = 20 * GST_MSECOND;  // decoders round their time stamps
constexpr guint kActive = 1;                               // the property's number

/// Where the position in the file is ahead of the position in the shortened sound.
class FileTimeline {
public:
    void Clear() {
        const TLock lock(FMutex);
        FShifts.clear();
    }
    /// From `position` on the file is `ahead`. Later shifts are forgotten: the sound has jumped back before them.
    void Add(std::int64_t position, std::int64_t ahead) {
        const TLock lock(FMutex);
        while (!FShifts.empty() && FShifts.back().Position >= position) FShifts.pop_back();
        FShifts.push_back({position, ahead});
    }
    std::int64_t FileTime(std::int64_t position) const {
        const TLock lock(FMutex);
        const auto next =
            std::upper_bound(FShifts.begin(), FShifts.end(), position,
                             [](std::int64_t wanted, const Shift& shift) { return wanted < shift.Position; });
        return next == FShifts.begin() ? position : position + std::prev(next)->Ahead;
    }

private:
    struct Shift {
        std::int64_t Position, Ahead;  // ns
    };
    mutable TMutex FMutex;
    std::vector<Shift> FShifts VEXA_GUARDED_BY(FMutex);  // by position
};

using MakeFilter = std::unique_ptr<SoundFilter> (*)();

/// What an element does with the data and events that flow through it. The streaming thread, except for Timeline and
/// Filter().SetActive.
class Worker {
public:
    Worker(GstPad* source, std::unique_ptr<SoundFilter> filter) : FSource(source), FFilter(std::move(filter)) {}

    GstFlowReturn OnBuffer(GstBuffer* buffer);
    gboolean OnEvent(GstPad* sink, GstObject* parent, GstEvent* event);
    void Reset();
    SoundFilter& Filter() noexcept { return *FFilter; }

    FileTimeline Timeline;

private:
    struct Part {
        std::size_t Begin, End;  // frames
    };
    bool SetCaps(const GstCaps* caps);
    Part Clip(GstClockTime time, std::size_t frames) const;
    GstEvent* OnSegment(GstEvent* event);
    void ContinueAt(GstClockTime time);
    GstFlowReturn Push();
    GstFlowReturn Drain();
    GstClockTime TimeOf(std::uint64_t frames) const {
        return gst_util_uint64_scale(frames, GST_SECOND, static_cast<guint64>(FRate));
    }

    GstPad* const FSource;  // the element owns it
    const std::unique_ptr<SoundFilter> FFilter;
    FilteredSound FOut;
    int FRate = 0, FChannels = 1;  // a rate of 0: not known yet
    GstSegment FSegment{};
    // Since the last discontinuity: where it was, and the frames that came in and went out since.
    GstClockTime FStart = GST_CLOCK_TIME_NONE, FOutStart = 0;
    std::uint64_t FFramesIn = 0, FFramesOut = 0;
    GstClockTime FRemoved = 0;  // in this segment
};

void Worker::Reset() {
    FFilter->Reset();
    FOut = {};
    FStart = GST_CLOCK_TIME_NONE;
    FRemoved = 0;
    Timeline.Clear();
}

bool Worker::SetCaps(const GstCaps* caps) {
    const GstStructure* format = gst_caps_get_structure(caps, 0);
    int rate = 0, channels = 0;
    if (!gst_structure_get_int(format, "rate", &rate) || !gst_structure_get_int(format, "channels", &channels) ||
        rate <= 0 || channels <= 0)
        return false;
    if (rate == FRate && channels == FChannels) return true;
    FRate = rate;
    FChannels = channels;
    FFilter->SetFormat(rate, channels);
    FStart = GST_CLOCK_TIME_NONE;
    return true;
}

void Worker::ContinueAt(GstClockTime time) {
    FStart = time;
    FOutStart = time > FRemoved ? time - FRemoved : 0;
    FFramesIn = FFramesOut = 0;
}

GstFlowReturn Worker::OnBuffer(GstBuffer* buffer) {
    if (FRate == 0) return GST_FLOW_NOT_NEGOTIATED;
    const bool isKnown = GST_CLOCK_TIME_IS_VALID(FStart);
    const GstClockTime expected = isKnown ? FStart + TimeOf(FFramesIn) : FSegment.start;
    const GstClockTime time = GST_BUFFER_PTS_IS_VALID(buffer) ? GST_BUFFER_PTS(buffer) : expected;
    const Part part = Clip(time, gst_buffer_get_size(buffer) / sizeof(float) / static_cast<std::size_t>(FChannels));
    if (part.Begin == part.End) return GST_FLOW_OK;
    const GstClockTime begin = time + TimeOf(part.Begin);
    if (!isKnown || std::llabs(GST_CLOCK_DIFF(expected, begin)) > kTolerance) {
        if (const GstFlowReturn result = Drain(); result != GST_FLOW_OK) return result;
        ContinueAt(begin);
    }
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_FLOW_ERROR;
    const auto channels = static_cast<std::size_t>(FChannels);
    FFilter->Process(
        {reinterpret_cast<const float*>(map.data) + part.Begin * channels, (part.End - part.Begin) * channels}, FOut);
    gst_buffer_unmap(buffer, &map);
    FFramesIn += part.End - part.Begin;
    return Push();
}

/// Which of the frames belong to the segment. After a jump some sources begin earlier, and sinks leave that out by its
/// time stamps, which they could not do once silence was removed from it.
Worker::Part Worker::Clip(GstClockTime time, std::size_t frames) const {
    const auto framesUntil = [&](GstClockTime end) -> std::size_t {
        if (end <= time) return 0;
        return std::min<std::size_t>(frames,
                                     gst_util_uint64_scale(end - time, static_cast<guint64>(FRate), GST_SECOND));
    };
    const std::size_t begin = framesUntil(FSegment.start);
    const std::size_t end = GST_CLOCK_TIME_IS_VALID(FSegment.stop) ? framesUntil(FSegment.stop) : frames;
    return {begin, std::max(begin, end)};
}

/// Sends what the filter has given out.
GstFlowReturn Worker::Push() {
    for (const FilteredSound::Cut& cut : FOut.Cuts) {
        FRemoved += TimeOf(cut.Removed);
        const auto at = static_cast<std::int64_t>(FOutStart + TimeOf(FFramesOut + cut.At));
        Timeline.Add(at - static_cast<std::int64_t>(FSegment.start) + static_cast<std::int64_t>(FSegment.time),
                     static_cast<std::int64_t>(FRemoved));
    }
    FOut.Cuts.clear();
    if (FOut.Samples.empty()) return GST_FLOW_OK;
    const std::size_t bytes = FOut.Samples.size() * sizeof(float);
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
    gst_buffer_fill(buffer, 0, FOut.Samples.data(), bytes);
    const GstClockTime begin = FOutStart + TimeOf(FFramesOut);
    if (FFramesOut == 0) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    FFramesOut += FOut.Samples.size() / static_cast<std::size_t>(FChannels);
    GST_BUFFER_PTS(buffer) = begin;
    GST_BUFFER_DURATION(buffer) = FOutStart + TimeOf(FFramesOut) - begin;
    FOut.Samples.clear();
    return gst_pad_push(FSource, buffer);
}

GstFlowReturn Worker::Drain() {
    FFilter->Drain(FOut);
    return Push();
}

/// A segment that follows another without a flush begins earlier than announced, by what was removed.
GstEvent* Worker::OnSegment(GstEvent* event) {
    Drain();
    gst_event_copy_segment(event, &FSegment);
    FStart = GST_CLOCK_TIME_NONE;
    if (FRemoved == 0) return event;
    const auto removed = static_cast<GstClockTime>(static_cast<double>(FRemoved) / std::abs(FSegment.rate));
    FRemoved = 0;
    Timeline.Add(static_cast<std::int64_t>(FSegment.time), 0);
    GstSegment earlier = FSegment;
    earlier.base -= std::min<GstClockTime>(removed, earlier.base);
    GstEvent* changed = gst_event_new_segment(&earlier);
    gst_event_set_seqnum(changed, gst_event_get_seqnum(event));
    gst_event_unref(event);
    return changed;
}

gboolean Worker::OnEvent(GstPad* sink, GstObject* parent, GstEvent* event) {
    switch (GST_EVENT_TYPE(event)) {
        case GST_EVENT_FLUSH_STOP:
            Reset();
            break;
        case GST_EVENT_SEGMENT:
            event = OnSegment(event);
            break;
        case GST_EVENT_CAPS: {
            GstCaps* caps = nullptr;
            gst_event_parse_caps(event, &caps);
            Drain();
            if (!SetCaps(caps)) {
                gst_event_unref(event);
                return FALSE;
            }
            break;
        }
        case GST_EVENT_GAP: {
            Drain();
            GstClockTime begin = 0, duration = 0;
            gst_event_parse_gap(event, &begin, &duration);
            gst_event_unref(event);
            ContinueAt(begin + (GST_CLOCK_TIME_IS_VALID(duration) ? duration : 0));
            event = gst_event_new_gap(begin > FRemoved ? begin - FRemoved : 0, duration);
            break;
        }
        case GST_EVENT_EOS:
        case GST_EVENT_SEGMENT_DONE:
        case GST_EVENT_STREAM_START:
            Drain();
            break;
        default:
            break;
    }
    return gst_pad_event_default(sink, parent, event);
}

struct Element {
    GstElement Parent;
    Worker* Work;
};

GstElementClass* ParentClass(gpointer element) {
    return GST_ELEMENT_CLASS(g_type_class_peek_parent(G_OBJECT_GET_CLASS(element)));
}

Worker& WorkerOf(gpointer element) {
    return *static_cast<Element*>(element)->Work;
}

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange change) {
    const GstStateChangeReturn result = ParentClass(element)->change_state(element, change);
    if (change == GST_STATE_CHANGE_PAUSED_TO_READY) WorkerOf(element).Reset();  // nothing flows any more
    return result;
}

gboolean OnQuery(GstPad* sink, GstObject* parent, GstQuery* query) {
    // Memory that the elements downstream offer is for the sound that comes out of here.
    if (GST_QUERY_TYPE(query) == GST_QUERY_ALLOCATION) return FALSE;
    return gst_pad_query_default(sink, parent, query);
}

void InitializeClass(gpointer type, gpointer) {
    GObjectClass* object = G_OBJECT_CLASS(type);
    object->set_property = [](GObject* element, guint, const GValue* value, GParamSpec*) {
        WorkerOf(element).Filter().SetActive(g_value_get_boolean(value) != FALSE);
    };
    object->get_property = [](GObject* element, guint, GValue* value, GParamSpec*) {
        g_value_set_boolean(value, WorkerOf(element).Filter().IsActive() ? TRUE : FALSE);
    };
    object->finalize = [](GObject* element) {
        delete static_cast<Element*>(static_cast<gpointer>(element))->Work;
        G_OBJECT_CLASS(ParentClass(element))->finalize(element);
    };
    g_object_class_install_property(object, kActive,
                                    g_param_spec_boolean("active", "Active", "Whether the sound is changed", FALSE,
                                                         GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS)));
    GstElementClass* element = GST_ELEMENT_CLASS(type);
    element->change_state = ChangeState;
    gst_element_class_set_static_metadata(element, "Filter of spoken sound", "Filter/Effect/Audio",
                                          "Shortens silence, or makes voices equally loud", "VEXA Podcasts authors");
    // The filters divide a second into blocks, for which a rate of a few frames would be too low.
    GstCaps* caps = gst_caps_from_string(
        "audio/x-raw,format=F32LE,layout=interleaved,"
        "rate=[1000,2147483647],channels=[1,2147483647]");
    gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
}

void InitializeElement(GTypeInstance* instance, gpointer type, MakeFilter make) {
    GstElement* element = GST_ELEMENT(instance);
    const auto add = [&](const char* name) {
        GstPad* pad =
            gst_pad_new_from_template(gst_element_class_get_pad_template(GST_ELEMENT_CLASS(type), name), name);
        GST_PAD_SET_PROXY_CAPS(pad);
        gst_element_add_pad(element, pad);
        return pad;
    };
    GstPad* sink = add("sink");
    GstPad* source = add("src");
    static_cast<Element*>(static_cast<gpointer>(instance))->Work = new Worker(source, make());
    gst_pad_set_chain_function(sink, [](GstPad*, GstObject* parent, GstBuffer* buffer) {
        const GstFlowReturn result = WorkerOf(parent).OnBuffer(buffer);
        gst_buffer_unref(buffer);
        return result;
    });
    gst_pad_set_event_function(sink, [](GstPad* pad, GstObject* parent, GstEvent* event) {
        return WorkerOf(parent).OnEvent(pad, parent, event);
    });
    gst_pad_set_query_function(sink, OnQuery);
}

template <class Filter>
void Register(const char* name, const char* typeName) {
    const GInstanceInitFunc initialize = [](GTypeInstance* instance, gpointer type) {
        InitializeElement(instance, type, []() -> std::unique_ptr<SoundFilter> { return std::make_unique<Filter>(); });
    };
    const GType type = g_type_register_static_simple(GST_TYPE_ELEMENT, typeName, sizeof(GstElementClass),
                                                     InitializeClass, sizeof(Element), initialize, GTypeFlags(0));
    gst_element_register(nullptr, name, GST_RANK_NONE, type);
}

}  // namespace

void FreeGstObject::operator()(void* object) const noexcept {
    gst_object_unref(object);
}

void RegisterSoundElements() {
    static const bool isDone = [] {
        Register<SilenceShortener>("vexasilence", "VexaSilence");
        Register<VoiceLeveller>("vexalevel", "VexaLevel");
        return true;
    }();
    static_cast<void>(isDone);
}

GstRef<GstElement> MakeSoundElement(const char* name) {
    GstElement* element = gst_element_factory_make(name, nullptr);
    return GstRef<GstElement>(element ? GST_ELEMENT(gst_object_ref_sink(element)) : nullptr);
}

std::int64_t FileTime(GstElement* element, std::int64_t position) {
    return WorkerOf(element).Timeline.FileTime(position);
}

}  // namespace vexa::host
