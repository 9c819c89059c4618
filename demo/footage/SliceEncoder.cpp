#include "footage/SliceEncoder.h"

#include "footage/FrameCode.h"

#include <QtEndian>

#include <cstdint>

extern "C" {
#include <x264.h>
}

namespace demo {

namespace {

x264_param_t parametersFor(const QSize &size, int macroblocksPerSlice, int quantizer)
{
    x264_param_t p;
    x264_param_default_preset(&p, "veryfast", "zerolatency");
    p.i_width = size.width();
    p.i_height = size.height();
    p.i_csp = X264_CSP_I420;
    p.i_level_idc = 31;
    p.i_threads = 1;
    p.b_sliced_threads = 0;
    p.i_log_level = X264_LOG_WARNING;
    p.i_fps_num = FrameInstant::framesPerSecond;
    p.i_fps_den = 1;
    p.b_vfr_input = 0;
    p.b_annexb = 0;
    p.b_repeat_headers = 0;
    p.b_stitchable = 1;
    p.i_slice_max_mbs = macroblocksPerSlice;

    p.i_keyint_max = FrameInstant::framesPerSecond;
    p.i_keyint_min = FrameInstant::framesPerSecond;
    p.i_scenecut_threshold = 0;
    p.i_bframe = 0;
    p.i_frame_reference = 1;
    p.b_deblocking_filter = 0;
    p.analyse.i_weighted_pred = 0;
    p.analyse.b_transform_8x8 = 0;
    p.analyse.i_trellis = 0;
    p.analyse.b_psy = 0;
    p.rc.i_rc_method = X264_RC_CQP;
    p.rc.i_qp_constant = quantizer;
    p.rc.i_aq_mode = X264_AQ_NONE;
    p.rc.b_mb_tree = 0;
    p.vui.i_colmatrix = 6; // BT.601, as Frame420 converts
    x264_param_apply_profile(&p, "main");
    return p;
}

bool isSlice(const x264_nal_t &nal)
{
    return nal.i_type == NAL_SLICE || nal.i_type == NAL_SLICE_IDR;
}

} // namespace

QByteArray SliceEncoder::Headers::decoderConfiguration() const
{
    const auto withLength = [](const QByteArray &unit) {
        return QByteArray(1, char(unit.size() >> 8)) + char(unit.size() & 0xff) + unit;
    };
    return '\x01' + sps.mid(1, 3) + "\xff\xe1" + withLength(sps) + '\x01' + withLength(pps);
}

QByteArray SliceEncoder::Headers::lengthPrefixed() const
{
    QByteArray bytes;
    for (const QByteArray &unit : {sps, pps}) {
        const quint32 length = qToBigEndian(quint32(unit.size()));
        bytes.append(reinterpret_cast<const char *>(&length), sizeof length);
        bytes += unit;
    }
    return bytes;
}

SliceEncoder::SliceEncoder(const QSize &size, int macroblocksPerSlice, int quantizer)
{
    x264_param_t parameters = parametersFor(size, macroblocksPerSlice, quantizer);
    m_encoder = x264_encoder_open(&parameters);
    if (!m_encoder)
        qFatal("The H.264 encoder cannot be opened");
}

SliceEncoder::~SliceEncoder()
{
    x264_encoder_close(m_encoder);
}

SliceEncoder::Headers SliceEncoder::headers() const
{
    x264_nal_t *nals = nullptr;
    int count = 0;
    x264_encoder_headers(m_encoder, &nals, &count);
    Headers headers;
    for (int i = 0; i < count; ++i) {
        const QByteArray unit(reinterpret_cast<const char *>(nals[i].p_payload) + 4, nals[i].i_payload - 4);
        if (nals[i].i_type == NAL_SPS)
            headers.sps = unit;
        else if (nals[i].i_type == NAL_PPS)
            headers.pps = unit;
    }
    return headers;
}

QList<QByteArray> SliceEncoder::encode(const Frame420 &frame, bool idr)
{
    x264_picture_t picture;
    x264_picture_t coded;
    x264_picture_init(&picture);
    picture.i_type = idr ? X264_TYPE_IDR : X264_TYPE_P;
    picture.i_pts = m_frameCount++;
    picture.img.i_csp = X264_CSP_I420;
    picture.img.i_plane = 3;
    for (int i = 0; i < 3; ++i) {
        picture.img.plane[i] = const_cast<uchar *>(frame.plane(i));
        picture.img.i_stride[i] = int(frame.stride(i));
    }
    x264_nal_t *nals = nullptr;
    int count = 0;
    if (x264_encoder_encode(m_encoder, &nals, &count, &picture, &coded) <= 0)
        qFatal("The H.264 encoder gave no picture");
    if (idr)
        m_nextParity ^= 1;

    QList<QByteArray> slices;
    for (int i = 0; i < count; ++i) {
        if (isSlice(nals[i]))
            slices.append(QByteArray(reinterpret_cast<const char *>(nals[i].p_payload), nals[i].i_payload));
    }
    return slices;
}

} // namespace demo
