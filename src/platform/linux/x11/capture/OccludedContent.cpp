#include "platform/linux/x11/capture/OccludedContent.h"

#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"
#include "platform/software/Damage.h"

namespace zv::x11 {
namespace {

bool Has(xcb_connection_t* connection, xcb_extension_t& extension) {
    const xcb_query_extension_reply_t* reply = xcb_get_extension_data(connection, &extension);
    return reply != nullptr && reply->present != 0;
}

bool Accepted(xcb_connection_t* connection, xcb_void_cookie_t request) {
    return !Reply<xcb_generic_error_t>(xcb_request_check(connection, request)) &&
           xcb_connection_has_error(connection) == 0;
}

std::int16_t Short(std::int32_t number) { return static_cast<std::int16_t>(number); }
std::uint16_t Unsigned(std::int32_t number) { return static_cast<std::uint16_t>(number); }

}  // namespace

BeneathWindows::BeneathWindows(xcb_connection_t* connection, const xcb_screen_t& screen)
    : connection_(connection), screen_(screen) {}

BeneathWindows::~BeneathWindows() {
    if (segment_ != XCB_NONE && xcb_connection_has_error(connection_) == 0) {
        xcb_shm_detach(connection_, segment_);
        xcb_flush(connection_);
    }
}

bool BeneathWindows::Open() {
    if (state_ != State::Closed) {
        return state_ == State::Ready;
    }
    state_ = State::Impossible;
    if (!Has(connection_, xcb_composite_id) || !Has(connection_, xcb_render_id) || !Has(connection_, xcb_xfixes_id) ||
        !Has(connection_, xcb_shm_id)) {
        return false;
    }
    const Reply<xcb_composite_query_version_reply_t> composite(
        xcb_composite_query_version_reply(connection_, xcb_composite_query_version(connection_, 0, 4), nullptr));
    const Reply<xcb_xfixes_query_version_reply_t> fixes(
        xcb_xfixes_query_version_reply(connection_, xcb_xfixes_query_version(connection_, 2, 0), nullptr));
    const Reply<xcb_render_query_version_reply_t> render(
        xcb_render_query_version_reply(connection_, xcb_render_query_version(connection_, 0, 11), nullptr));
    const Reply<xcb_render_query_pict_formats_reply_t> formats(
        xcb_render_query_pict_formats_reply(connection_, xcb_render_query_pict_formats(connection_), nullptr));
    if (!composite || !fixes || !render || !formats) {
        return false;
    }
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(formats.get()); screen.rem > 0;
         xcb_render_pictscreen_next(&screen)) {
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem > 0;
             xcb_render_pictdepth_next(&depth)) {
            for (const xcb_render_pictvisual_t& visual :
                 std::span(xcb_render_pictdepth_visuals(depth.data),
                           static_cast<std::size_t>(xcb_render_pictdepth_visuals_length(depth.data)))) {
                formats_.push_back({visual.visual, visual.format});
            }
        }
    }
    constexpr std::string_view name = "_XROOTPMAP_ID";
    const Reply<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, name.size(), name.data()), nullptr));
    rootPicture_ = atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
    state_ = FormatOf(screen_.root_visual) != XCB_NONE ? State::Ready : State::Impossible;
    return state_ == State::Ready;
}

xcb_render_pictformat_t BeneathWindows::FormatOf(xcb_visualid_t visual) const {
    for (const VisualFormat& row : formats_) {
        if (row.visual == visual) {
            return row.format;
        }
    }
    return XCB_NONE;
}

/// The screen's windows that can be seen, from the bottom to the top. All questions go out before the first answer.
std::vector<BeneathWindows::Layer> BeneathWindows::Layers() const {
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, screen_.root), nullptr));
    if (!tree) {
        return {};
    }
    const std::span windows(xcb_query_tree_children(tree.get()),
                            static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    std::vector<xcb_get_window_attributes_cookie_t> askedKinds;
    std::vector<xcb_get_geometry_cookie_t> askedPlaces;
    for (const xcb_window_t window : windows) {
        askedKinds.push_back(xcb_get_window_attributes(connection_, window));
        askedPlaces.push_back(xcb_get_geometry(connection_, window));
    }
    const ExcludedWindows excluded = ListExcluded();
    std::vector<Layer> layers;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const Reply<xcb_get_window_attributes_reply_t> kind(
            xcb_get_window_attributes_reply(connection_, askedKinds[i], nullptr));
        const Reply<xcb_get_geometry_reply_t> place(xcb_get_geometry_reply(connection_, askedPlaces[i], nullptr));
        if (!kind || !place || kind->map_state != XCB_MAP_STATE_VIEWABLE ||
            kind->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || excluded.Holds(windows[i])) {
            continue;
        }
        const int border = place->border_width;
        const Rectangle bounds{place->x, place->y, place->x + place->width + 2 * border,
                               place->y + place->height + 2 * border};
        layers.push_back({windows[i], bounds, border, kind->visual});
    }
    return layers;
}

/// The desktop's own picture, over and over where it is smaller than the screen; black where there is none.
void BeneathWindows::DrawBackground(xcb_render_picture_t target, const Rectangle& part) const {
    const xcb_rectangle_t all{0, 0, Unsigned(part.Width()), Unsigned(part.Height())};
    xcb_render_fill_rectangles(connection_, XCB_RENDER_PICT_OP_SRC, target, {0, 0, 0, 0xFFFF}, 1, &all);
    const Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, screen_.root, rootPicture_, XCB_ATOM_PIXMAP, 0, 1), nullptr));
    if (!property || xcb_get_property_value_length(property.get()) < 4) {
        return;
    }
    const auto pixmap = *static_cast<const xcb_pixmap_t*>(xcb_get_property_value(property.get()));
    const xcb_render_picture_t picture = xcb_generate_id(connection_);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    if (!Accepted(connection_,
                  xcb_render_create_picture_checked(connection_, picture, pixmap, FormatOf(screen_.root_visual),
                                                    XCB_RENDER_CP_REPEAT, &repeat))) {
        return;
    }
    xcb_render_composite(connection_, XCB_RENDER_PICT_OP_SRC, picture, XCB_NONE, target, Short(part.left),
                         Short(part.top), 0, 0, 0, 0, all.width, all.height);
    xcb_render_free_picture(connection_, picture);
}

/// A window that goes away in the meantime is left out: every request about it just fails.
void BeneathWindows::DrawLayer(xcb_render_picture_t target, const Rectangle& part, const Layer& layer) const {
    const Rectangle shared = Intersection(part, layer.bounds);
    const xcb_render_pictformat_t format = FormatOf(layer.visual);
    if (HoldsNothing(shared) || format == XCB_NONE) {
        return;
    }
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    const xcb_render_picture_t picture = xcb_generate_id(connection_);
    const xcb_xfixes_region_t shape = xcb_generate_id(connection_);
    const std::array<xcb_void_cookie_t, 7> requests{
        xcb_composite_name_window_pixmap_checked(connection_, layer.window, pixmap),
        xcb_render_create_picture_checked(connection_, picture, pixmap, format, 0, nullptr),
        xcb_xfixes_create_region_from_window_checked(connection_, shape, layer.window, XCB_SHAPE_SK_BOUNDING),
        // On the target: servers do not honour the clip of a source.
        xcb_xfixes_set_picture_clip_region_checked(connection_, target, shape,
                                                   Short(layer.bounds.left + layer.border - part.left),
                                                   Short(layer.bounds.top + layer.border - part.top)),
        xcb_render_composite_checked(connection_, XCB_RENDER_PICT_OP_OVER, picture, XCB_NONE, target,
                                     Short(shared.left - layer.bounds.left), Short(shared.top - layer.bounds.top), 0, 0,
                                     Short(shared.left - part.left), Short(shared.top - part.top),
                                     Unsigned(shared.Width()), Unsigned(shared.Height())),
        xcb_xfixes_destroy_region_checked(connection_, shape),
        xcb_render_free_picture_checked(connection_, picture),
    };
    for (const xcb_void_cookie_t request : requests) {
        xcb_discard_reply(connection_, request.sequence);
    }
    xcb_discard_reply(connection_, xcb_free_pixmap_checked(connection_, pixmap).sequence);
}

bool BeneathWindows::Fetch(xcb_pixmap_t pixmap, const Rectangle& part) {
    const std::size_t bytes =
        static_cast<std::size_t>(part.Width()) * static_cast<std::size_t>(part.Height()) * sizeof(std::uint32_t);
    if (!store_ || store_->size < bytes) {
        if (segment_ != XCB_NONE) {
            xcb_shm_detach(connection_, segment_);
            segment_ = XCB_NONE;
        }
        store_ = MakePixelStore(bytes);
        const int descriptor = store_ ? dup(store_->descriptor.Get()) : -1;
        const xcb_shm_seg_t segment = xcb_generate_id(connection_);
        if (descriptor < 0 || !Accepted(connection_, xcb_shm_attach_fd_checked(connection_, segment, descriptor, 0))) {
            store_.reset();
            return false;
        }
        segment_ = segment;
    }
    const Reply<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(connection_,
                                xcb_shm_get_image(connection_, pixmap, 0, 0, Unsigned(part.Width()),
                                                  Unsigned(part.Height()), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, 0),
                                nullptr));
    return reply != nullptr;
}

const std::uint8_t* BeneathWindows::Draw(const Rectangle& part) {
    if (!Open() || HoldsNothing(part)) {
        return nullptr;
    }
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    const xcb_render_picture_t target = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, screen_.root_depth, pixmap, screen_.root, Unsigned(part.Width()),
                      Unsigned(part.Height()));
    xcb_render_create_picture(connection_, target, pixmap, FormatOf(screen_.root_visual), 0, nullptr);
    DrawBackground(target, part);
    for (const Layer& layer : Layers()) {
        DrawLayer(target, part, layer);
    }
    const bool fetched = Fetch(pixmap, part);
    xcb_render_free_picture(connection_, target);
    xcb_free_pixmap(connection_, pixmap);
    return fetched ? store_->bytes : nullptr;
}

}  // namespace zv::x11
