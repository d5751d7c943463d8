'use strict';
// The map of cameras (photo positions) and GCP pins, driven by the
// application through script calls; clicks go back through the web channel.

var map = null;
var bridge = null;
var cameras = {};      // key -> circle marker
var cameraTotal = 0;
var pins = {};         // name -> marker
var photos = {};       // camera key -> photo overlay
var cameraLayer, pinLayer, photoLayer, cameraRenderer;
var loadingCameras = null; // markers of a load in progress, added in one go at its end
var camerasVisible = true;
var popupPin = '';
var tileLayers = [];
var style = { cameraFill: '#1e6ec8', cameraBorder: '#ffffff', cameraRadius: 5,
              cameraCluster: 'rgba(30,110,200,0.7)', pinUrl: '', pinW: 22, pinH: 22,
              pinCluster: 'rgba(200,40,40,0.75)' };

function zynPageCheck(names) {
    if (typeof L === 'undefined')
        return 'Leaflet (leaflet.js) could not be loaded.';
    if (typeof L.markerClusterGroup !== 'function')
        return 'The Leaflet marker-cluster plug-in (leaflet.markercluster.js) could not be loaded.';
    if (!map)
        return 'The map could not be created.';
    var missing = names.filter(function (n) { return typeof window[n] !== 'function'; });
    return missing.length ? 'The map page lacks the functions: ' + missing.join(', ') : '';
}

function num(v, dflt) { var n = parseFloat(v); return isFinite(n) ? n : dflt; }

function clusterIcon(cls, colour) {
    return function (cluster) {
        var n = cluster.getChildCount();
        var html = '<div class="' + cls + '" style="background:' + colour() + '">' + n + '</div>';
        return L.divIcon({ html: html, className: '', iconSize: L.point(30, 30) });
    };
}

function initMap() {
    map = L.map('map', { preferCanvas: false, zoomControl: true, maxZoom: 22, zoomSnap: 0.5, worldCopyJump: true });
    map.createPane('photos').style.zIndex = 350;
    cameraRenderer = L.canvas({ padding: 0.5 });
    photoLayer = L.layerGroup().addTo(map);
    cameraLayer = L.markerClusterGroup({ maxClusterRadius: 30, disableClusteringAtZoom: 16,
        showCoverageOnHover: false, chunkedLoading: false,
        iconCreateFunction: clusterIcon('zyn-camera-cluster', function () { return style.cameraCluster; }) });
    cameraLayer.on('mouseover', function (e) {
        var m = e.layer;
        if (!m.getTooltip() && m.zynHtml)
            m.bindTooltip(m.zynHtml).openTooltip();
    });
    cameraLayer.addTo(map);
    pinLayer = L.markerClusterGroup({ maxClusterRadius: 40, showCoverageOnHover: false, zoomToBoundsOnClick: true,
        iconCreateFunction: clusterIcon('zyn-pin-cluster', function () { return style.pinCluster; }) });
    // Right-clicking a cluster of pins lists them; each name navigates to its pin.
    pinLayer.on('clustercontextmenu', function (e) {
        var names = e.layer.getAllChildMarkers().map(function (m) { return m.zynName; }).sort();
        var links = names.map(function (n) {
            return '<a href="javascript:void(0);" onclick="navigateTo(' +
                   escapeHtml(JSON.stringify(n)) + ', true)">' + escapeHtml(n) + '</a>';
        });
        L.popup().setLatLng(e.layer.getLatLng()).setContent(links.join('<br>')).openOn(map);
    });
    pinLayer.addTo(map);
    map.on('popupopen', function (e) { if (e.popup._source && e.popup._source.zynName !== undefined) popupPin = e.popup._source.zynName; });
    map.setView([20, 0], 2);
    L.control.scale({ imperial: false }).addTo(map);
}

function escapeHtml(s) {
    return String(s).replace(/[&<>"']/g, function (c) {
        return { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' }[c];
    });
}

// ---- tiles (optional background) ----
function setTileLayers(onlineTemplate, localTemplate) {
    tileLayers.forEach(function (t) { map.removeLayer(t); });
    tileLayers = [];
    [localTemplate, onlineTemplate].forEach(function (tpl) {
        if (tpl)
            tileLayers.push(L.tileLayer(tpl, { maxZoom: 22, maxNativeZoom: 19 }).addTo(map));
    });
}

// ---- cameras ----
function setCameraIcon(fill, border, radius) {
    style.cameraFill = fill; style.cameraBorder = border; style.cameraRadius = num(radius, 5);
}
function setCameraClusterIcon(colour) { style.cameraCluster = colour; }

function setCamera(key, lat, lon, html, look) {
    var ll = L.latLng(num(lat, 0), num(lon, 0));
    var m = cameras[key];
    if (m) {
        m.setLatLng(ll);
        if (look) {
            m.setStyle(look);
            m.setRadius(look.radius);
        }
    } else {
        m = L.circleMarker(ll, look || { renderer: cameraRenderer, radius: style.cameraRadius, weight: 1,
            color: style.cameraBorder, fillColor: style.cameraFill, fillOpacity: 0.9 });
        cameras[key] = m;
        ++cameraTotal;
        if (loadingCameras)
            loadingCameras.push(m);
        else
            cameraLayer.addLayer(m);
    }
    if (html !== undefined && html !== m.zynHtml) {
        m.zynHtml = html;
        if (m.getTooltip())
            m.setTooltipContent(html);
    }
    return m;
}

// fill and border colour; radius in pixels; fill opacity 0..1.
function modifyCamera(key, lat, lon, fill, border, radius, opacity, html) {
    setCamera(key, lat, lon, html, { renderer: cameraRenderer, weight: 1, fillColor: fill, color: border,
        radius: num(radius, style.cameraRadius), fillOpacity: num(opacity, 0.9) });
}

// withPhoto: 'true' also takes the camera's photo background away.
function removeCamera(key, withPhoto) {
    var m = cameras[key];
    if (m) {
        cameraLayer.removeLayer(m);
        delete cameras[key];
        --cameraTotal;
    }
    if (withPhoto !== 'false' && photos[key]) {
        photoLayer.removeLayer(photos[key]);
        delete photos[key];
    }
}

function clearCameras() {
    cameraLayer.clearLayers();
    photoLayer.clearLayers();
    cameras = {};
    photos = {};
    cameraTotal = 0;
    loadingCameras = [];
}

function setCameraLoadingProgress(percent) {
    if (!loadingCameras)
        loadingCameras = [];
    var p = document.getElementById('progress');
    p.textContent = 'Loading cameras ' + percent + '%';
    p.style.display = 'block';
}

function setCamerasLoadComplete() {
    if (loadingCameras && loadingCameras.length)
        cameraLayer.addLayers(loadingCameras, true);
    loadingCameras = null;
    document.getElementById('progress').style.display = 'none';
}

function cameraCount() { return cameraTotal; }

function setCamerasVisible(visible) {
    camerasVisible = !!visible;
    if (camerasVisible && !map.hasLayer(cameraLayer))
        cameraLayer.addTo(map);
    else if (!camerasVisible && map.hasLayer(cameraLayer))
        map.removeLayer(cameraLayer);
}

// A photo drawn over its ground footprint: corners are [lat, lon] of the
// image's top-left, top-right, bottom-right and bottom-left.
var PhotoOverlay = L.Layer.extend({
    initialize: function (url, corners) {
        this._url = url;
        this._c = corners.map(function (c) { return L.latLng(c[0], c[1]); });
        this._bounds = L.latLngBounds(this._c);
    },
    getBounds: function () { return this._bounds; },
    onAdd: function (m) {
        var img = this._img = L.DomUtil.create('img', 'zyn-photo leaflet-zoom-hide');
        img.style.position = 'absolute';
        img.style.left = '0px';
        img.style.top = '0px';
        img.style.transformOrigin = '0 0';
        img.style.pointerEvents = 'none';
        var self = this;
        img.onload = function () { self._reset(); };
        img.src = this._url;
        m.getPane('photos').appendChild(img);
        m.on('zoomend viewreset', this._reset, this);
        this._reset();
    },
    onRemove: function (m) {
        L.DomUtil.remove(this._img);
        m.off('zoomend viewreset', this._reset, this);
    },
    _reset: function () {
        var img = this._img;
        if (!img || !img.naturalWidth || !this._map)
            return;
        var m = this._map;
        var p0 = m.latLngToLayerPoint(this._c[0]);
        var p1 = m.latLngToLayerPoint(this._c[1]);
        var p3 = m.latLngToLayerPoint(this._c[3]);
        var w = img.naturalWidth, h = img.naturalHeight;
        img.style.transform = 'matrix(' + [(p1.x - p0.x) / w, (p1.y - p0.y) / w,
            (p3.x - p0.x) / h, (p3.y - p0.y) / h, p0.x, p0.y].join(',') + ')';
    }
});

function setCameraPhoto(key, url, corners) {
    if (photos[key])
        photoLayer.removeLayer(photos[key]);
    photos[key] = new PhotoOverlay(url, corners).addTo(photoLayer);
}

function photoCount() { return Object.keys(photos).length; }

// ---- pins ----
function setGcpPinIcon(url, w, h) { style.pinUrl = url; style.pinW = num(w, 22); style.pinH = num(h, 22); }
function setGcpPinClusterIcon(colour) { style.pinCluster = colour; }

function pinIcon(label, colour, kind, w, h) {
    if (style.pinUrl)
        return L.icon({ iconUrl: style.pinUrl, iconSize: [w, h], iconAnchor: [w / 2, h] });
    var html = '<div class="dot" style="width:' + (w - 4) + 'px;height:' + (h - 4) + 'px;background:' +
               escapeHtml(colour) + '"></div><div class="label">' + escapeHtml(label) + '</div>';
    return L.divIcon({ className: 'zyn-pin' + (kind === 'checkpoint' ? ' checkpoint' : ''), html: html,
                       iconSize: [Math.max(w, 8 * label.length + 8), h + 18], iconAnchor: [Math.max(w, 8 * label.length + 8) / 2, h] });
}

function setGcpPin(name, lat, lon, label, html) {
    var ll = L.latLng(num(lat, 0), num(lon, 0));
    var m = pins[name];
    if (!m) {
        m = L.marker(ll, { icon: pinIcon(label || name, '#c82828', 'gcp', style.pinW, style.pinH), riseOnHover: true });
        m.zynName = name;
        m.on('click', function () { if (bridge) bridge.pinClicked(name); });
        pins[name] = m;
        pinLayer.addLayer(m);
    } else if (!m.getLatLng().equals(ll)) {
        // Moving a clustered marker keeps the cluster tree right.
        pinLayer.removeLayer(m);
        m.setLatLng(ll);
        pinLayer.addLayer(m);
    }
    if (html !== undefined) {
        if (m.getPopup())
            m.setPopupContent(html);
        else
            m.bindPopup(html);
    }
    return m;
}

// kind 'gcp' or 'checkpoint'; w, h icon size in pixels.
function modifyGcpPin(name, lat, lon, label, colour, kind, w, h, html) {
    var m = setGcpPin(name, lat, lon, label, html);
    m.setIcon(pinIcon(label, colour, kind, num(w, style.pinW), num(h, style.pinH)));
}

function removeGcpPin(name) {
    var m = pins[name];
    if (!m)
        return;
    pinLayer.removeLayer(m);
    delete pins[name];
    if (popupPin === name)
        popupPin = '';
}

function clearGcpPins() {
    pinLayer.clearLayers();
    pins = {};
    popupPin = '';
}

function gcpPinCount() { return Object.keys(pins).length; }

function isGcpPinClustering(name) {
    var m = pins[name];
    if (!m || !m.__parent || !map.hasLayer(pinLayer))
        return false;
    var z = pinLayer._zoom;
    var p = m.__parent;
    while (p && p._zoom > z)
        p = p.__parent;
    return !!p && p._zoom === z && p.getChildCount() > 1;
}

// Brings pin name into view (opening its cluster) and opens its tooltip;
// centre also puts the pin in the middle of the map.
function popGcpPinTooltip(name, centre) {
    var m = pins[name];
    if (!m)
        return false;
    pinLayer.zoomToShowLayer(m, function () {
        if (centre)
            map.setView(m._preSpiderfyLatlng || m.getLatLng(), map.getZoom(), { animate: false });
        m.openPopup();
        popupPin = name;
    });
    return true;
}

// fromPage tells the application that the user asked for it on the page.
function navigateTo(name, fromPage) {
    if (!pins[name])
        return false;
    map.closePopup();
    popGcpPinTooltip(name, true);
    if (fromPage && bridge)
        bridge.navigateRequested(name);
    return true;
}

function onTagPhotoLinkClicked() {
    if (bridge && popupPin)
        bridge.tagPhotoLinkClicked(popupPin);
}

// ---- view ----
function autoZoom(pad) {
    var b = L.latLngBounds([]);
    for (var k in cameras) b.extend(cameras[k].getLatLng());
    for (var n in pins) b.extend(pins[n].getLatLng());
    for (var p in photos) b.extend(photos[p].getBounds());
    if (!b.isValid())
        return false;
    if (b.getNorthEast().equals(b.getSouthWest()))
        map.setView(b.getCenter(), 18);
    else
        map.fitBounds(b.pad(num(pad, 0)));
    return true;
}

function isMapLoaded() { return map !== null && bridge !== null; }

function pageCenter() { var c = map.getCenter(); return [c.lat, c.lng, map.getZoom()]; }

if (typeof L !== 'undefined' && typeof L.markerClusterGroup === 'function') {
    initMap();
    var id = new URLSearchParams(window.location.search).get('bridge') || '';
    if (typeof QWebChannel !== 'undefined' && typeof qt !== 'undefined') {
        new QWebChannel(qt.webChannelTransport, function (channel) {
            bridge = channel.objects[id] || null;
        });
    }
}
