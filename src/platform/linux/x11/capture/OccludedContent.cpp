#include "platform/linux/x11/capture/OccludedContent.h"

#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "platform/linux/x11/Extensions.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/linux/x11/capture/ExcludedWindows.h"

namespace zv::x11 {
namespace {

std::int16_t Short(std::int32_t number) { return static_cast<std::int16_t>(number); }
std::uint16_t Unsigned(std::int32_t number) { return static_cast<std::uint16_t>(number); }

/// Discards the errors of requests about windows and pixmaps that no longer exist.
void DiscardErrors(xcb_connection_t* connection, std::initializer_list<xcb_void_cookie_t> requests) {
    for (const xcb_void_cookie_t request : requests) {
        xcb_discard_reply(connection, request.sequence);
    }
}

}  // namespace

OccludedContent::OccludedContent(xcb_connection_t* connection, const xcb_screen_t& screen)
    : connection_(connection), screen_(screen) {}

bool OccludedContent::Open() {
    if (state_ != State::Closed) {
        return state_ == State::Ready;
    }
    state_ = State::Unsupported;
    if (!HasExtensions(connection_, {&xcb_composite_id, &xcb_render_id, &xcb_xfixes_id, &xcb_shm_id})) {
        return false;
    }
    constexpr std::string_view name = "_XROOTPMAP_ID";
    const auto compositeCookie = xcb_composite_query_version(connection_, 0, 4);
    const auto fixesCookie = xcb_xfixes_query_version(connection_, 2, 0);
    const auto renderCookie = xcb_render_query_version(connection_, 0, 11);
    const auto formatsCookie = xcb_render_query_pict_formats(connection_);
    const auto atomCookie = xcb_intern_atom(connection_, 0, name.size(), name.data());
    const auto composite = Adopt(xcb_composite_query_version_reply(connection_, compositeCookie, nullptr));
    const auto fixes = Adopt(xcb_xfixes_query_version_reply(connection_, fixesCookie, nullptr));
    const auto render = Adopt(xcb_render_query_version_reply(connection_, renderCookie, nullptr));
    const auto formats = Adopt(xcb_render_query_pict_formats_reply(connection_, formatsCookie, nullptr));
    const auto atom = Adopt(xcb_intern_atom_reply(connection_, atomCookie, nullptr));
    if (!composite || !fixes || !render || !formats || !atom) {
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
    rootPixmapProperty_ = atom->atom;
    state_ = FormatOf(screen_.root_visual) != XCB_NONE ? State::Ready : State::Unsupported;
    return state_ == State::Ready;
}

xcb_render_pictformat_t OccludedContent::FormatOf(xcb_visualid_t visual) const {
    for (const VisualFormat& row : formats_) {
        if (row.visual == visual) {
            return row.format;
        }
    }
    return XCB_NONE;
}

OccludedContent::Tiles OccludedContent::TilesOf(const Damage& parts) {
    constexpr std::int32_t tallest = std::numeric_limits<std::int16_t>::max();  // of a picture of the server
    Tiles tiles;
    Rectangle box = parts.Rectangles().front();
    for (const Rectangle& part : parts.Rectangles()) {
        tiles.each[tiles.count++] = {part, tiles.height};
        tiles.width = std::max(tiles.width, part.Width());
        tiles.height += part.Height();
        box = BoundingBox(box, part);
    }
    if (tiles.height > tallest) {
        tiles.each[0] = {box, 0};
        tiles.count = 1;
        tiles.width = box.Width();
        tiles.height = box.Height();
    }
    return tiles;
}

/// Returns true for the invisible window that a manager puts above its minimized windows, which stay mapped.
bool OccludedContent::IsGuard(xcb_window_t window, const Rectangle& bounds, const Tiles& tiles) const {
    const auto covers = [&](const Tile& tile) { return Intersection(tile.part, bounds) == tile.part; };
    if (!std::all_of(tiles.All().begin(), tiles.All().end(), covers)) {
        return false;
    }
    const auto name = Adopt(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 0, 16), nullptr));
    return name && std::string_view(static_cast<const char*>(xcb_get_property_value(name.get())),
                                    static_cast<std::size_t>(xcb_get_property_value_length(name.get())))
                       .ends_with("guard window");
}

/// Waits for the server twice: for the tree, and for the windows in it.
OccludedContent::Scene OccludedContent::ReadScene(const Tiles& tiles) const {
    Scene scene;
    const auto treeCookie = xcb_query_tree(connection_, screen_.root);
    const auto pixmapCookie =
        xcb_get_property(connection_, 0, screen_.root, rootPixmapProperty_, XCB_ATOM_PIXMAP, 0, 1);
    const auto tree = Adopt(xcb_query_tree_reply(connection_, treeCookie, nullptr));
    const auto pixmap = Adopt(xcb_get_property_reply(connection_, pixmapCookie, nullptr));
    if (pixmap && xcb_get_property_value_length(pixmap.get()) >= 4) {
        scene.background = *static_cast<const xcb_pixmap_t*>(xcb_get_property_value(pixmap.get()));
    } else {
        scene.background = Backdrop();
    }
    if (!tree) {
        return scene;
    }
    const std::span windows(xcb_query_tree_children(tree.get()),
                            static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    std::vector<xcb_get_window_attributes_cookie_t> attributeCookies;
    std::vector<xcb_get_geometry_cookie_t> geometryCookies;
    for (const xcb_window_t window : windows) {
        attributeCookies.push_back(xcb_get_window_attributes(connection_, window));
        geometryCookies.push_back(xcb_get_geometry(connection_, window));
    }
    const ExcludedWindows excluded = ListExcluded();
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto attributes = Adopt(xcb_get_window_attributes_reply(connection_, attributeCookies[i], nullptr));
        const auto geometry = Adopt(xcb_get_geometry_reply(connection_, geometryCookies[i], nullptr));
        if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE || excluded.Holds(windows[i])) {
            continue;
        }
        const int border = geometry->border_width;
        const Rectangle bounds{geometry->x, geometry->y, geometry->x + geometry->width + 2 * border,
                               geometry->y + geometry->height + 2 * border};
        if (attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            scene.layers.push_back({windows[i], bounds, border, attributes->visual});
        } else if (attributes->override_redirect != 0 && IsGuard(windows[i], bounds, tiles)) {
            scene.layers.clear();
        }
    }
    return scene;
}

/// Repeats a wallpaper that is smaller than the screen. Draws black if there is no background.
void OccludedContent::DrawBackground(xcb_render_picture_t target, const Tiles& tiles, xcb_pixmap_t background) const {
    const xcb_rectangle_t all{0, 0, Unsigned(tiles.width), Unsigned(tiles.height)};
    xcb_render_fill_rectangles(connection_, XCB_RENDER_PICT_OP_SRC, target, {0, 0, 0, 0xFFFF}, 1, &all);
    if (background == XCB_NONE) {
        return;
    }
    const xcb_render_picture_t picture = xcb_generate_id(connection_);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    DiscardErrors(connection_,
                  {xcb_render_create_picture_checked(connection_, picture, background, FormatOf(screen_.root_visual),
                                                     XCB_RENDER_CP_REPEAT, &repeat)});
    for (const Tile& tile : tiles.All()) {
        DiscardErrors(connection_, {xcb_render_composite_checked(connection_, XCB_RENDER_PICT_OP_SRC, picture, XCB_NONE,
                                                                 target, Short(tile.part.left), Short(tile.part.top), 0,
                                                                 0, 0, Short(tile.top), Unsigned(tile.part.Width()),
                                                                 Unsigned(tile.part.Height()))});
    }
    DiscardErrors(connection_, {xcb_render_free_picture_checked(connection_, picture)});
}

void OccludedContent::DrawLayer(xcb_render_picture_t target, const Tiles& tiles, const Layer& layer) const {
    const xcb_render_pictformat_t format = FormatOf(layer.visual);
    const auto covers = [&](const Tile& tile) { return !Intersection(tile.part, layer.bounds).IsEmpty(); };
    if (format == XCB_NONE || std::none_of(tiles.All().begin(), tiles.All().end(), covers)) {
        return;
    }
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    const xcb_render_picture_t picture = xcb_generate_id(connection_);
    const xcb_xfixes_region_t shape = xcb_generate_id(connection_);
    DiscardErrors(connection_, {xcb_composite_name_window_pixmap_checked(connection_, layer.window, pixmap),
                                xcb_render_create_picture_checked(connection_, picture, pixmap, format, 0, nullptr),
                                xcb_xfixes_create_region_from_window_checked(connection_, shape, layer.window,
                                                                             XCB_SHAPE_SK_BOUNDING)});
    for (const Tile& tile : tiles.All()) {
        const Rectangle shared = Intersection(tile.part, layer.bounds);
        if (shared.IsEmpty()) {
            continue;
        }
        const Point offset{-tile.part.left, tile.top - tile.part.top};  // from the root to the target
        DiscardErrors(
            connection_,
            {// The target has the clip, because servers ignore the clip of a source.
             xcb_xfixes_set_picture_clip_region_checked(connection_, target, shape,
                                                        Short(layer.bounds.left + layer.border + offset.x),
                                                        Short(layer.bounds.top + layer.border + offset.y)),
             xcb_render_composite_checked(connection_, XCB_RENDER_PICT_OP_OVER, picture, XCB_NONE, target,
                                          Short(shared.left - layer.bounds.left), Short(shared.top - layer.bounds.top),
                                          0, 0, Short(shared.left + offset.x), Short(shared.top + offset.y),
                                          Unsigned(shared.Width()), Unsigned(shared.Height()))});
    }
    DiscardErrors(connection_, {xcb_xfixes_destroy_region_checked(connection_, shape),
                                xcb_render_free_picture_checked(connection_, picture),
                                xcb_free_pixmap_checked(connection_, pixmap)});
}

/// Requests the composed tiles, which the server writes into the shared memory.
bool OccludedContent::Fetch(xcb_pixmap_t pixmap, const Tiles& tiles) {
    const std::size_t bytes = static_cast<std::size_t>(tiles.width) * static_cast<std::size_t>(tiles.height) * 4;
    if (memory_.Size() < bytes && Failed(memory_.Attach(connection_, bytes, ServerAccess::ReadWrite))) {
        return false;
    }
    const auto cookie = xcb_shm_get_image(connection_, pixmap, 0, 0, Unsigned(tiles.width), Unsigned(tiles.height), ~0U,
                                          XCB_IMAGE_FORMAT_Z_PIXMAP, memory_.Segment(), 0);
    return Adopt(xcb_shm_get_image_reply(connection_, cookie, nullptr)) != nullptr;
}

bool OccludedContent::Compose(const Tiles& tiles) {
    if (!Open()) {
        return false;
    }
    const Scene scene = ReadScene(tiles);
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_);
    const xcb_render_picture_t target = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, screen_.root_depth, pixmap, screen_.root, Unsigned(tiles.width),
                      Unsigned(tiles.height));
    xcb_render_create_picture(connection_, target, pixmap, FormatOf(screen_.root_visual), 0, nullptr);
    DrawBackground(target, tiles, scene.background);
    for (const Layer& layer : scene.layers) {
        DrawLayer(target, tiles, layer);
    }
    const bool fetched = Fetch(pixmap, tiles);
    xcb_render_free_picture(connection_, target);
    xcb_free_pixmap(connection_, pixmap);
    return fetched;
}

void OccludedContent::Restore(const Damage& parts, const RootPixels& pixels) {
    if (parts.Empty()) {
        return;
    }
    const Tiles tiles = TilesOf(parts);
    const bool composed = Compose(tiles);
    for (const Tile& tile : tiles.All()) {
        const std::size_t rowBytes = static_cast<std::size_t>(tile.part.Width()) * 4;
        const auto left = static_cast<std::size_t>(tile.part.left - pixels.origin.x) * 4;
        for (std::int32_t y = 0; y < tile.part.Height(); ++y) {
            const auto row = static_cast<std::size_t>(tile.part.top - pixels.origin.y + y);
            std::uint8_t* to = pixels.bytes + row * pixels.stride + left;
            if (composed) {
                const auto from = static_cast<std::size_t>(tile.top + y) * static_cast<std::size_t>(tiles.width) * 4;
                std::memcpy(to, memory_.Bytes().get() + from, rowBytes);
            } else {
                std::memset(to, 0, rowBytes);
            }
        }
    }
}

}  // namespace zv::x11
