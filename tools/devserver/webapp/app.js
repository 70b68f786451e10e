// Shared by the sample offerwall pages: the native bridge (injected once the page has loaded),
// a log the pages and the demo driver read, and small helpers.
(function () {
  var queued = [];
  var app = {
    results: [],
    params: new URLSearchParams(location.search),
    log: function (line) {
      app.results.push(line);
      var box = document.getElementById('log');
      if (box) box.textContent += line + '\n';
    },
    // Posts a message through the bridge; waits for the bridge when the page is still loading.
    send: function (type, data) {
      if (window.KorvaneBridge) return window.KorvaneBridge.postMessage(type, data || {});
      queued.push([type, data]);
    },
    bridge: function (fn) {
      if (window.KorvaneBridge) return fn(window.KorvaneBridge);
      queued.push(fn);
    },
    open: function (path) { app.send('openWebView', { url: new URL(path, location.href).href }); },
    close: function () { app.send('close', {}); },
    el: function (tag, attrs, children) {
      var node = document.createElement(tag);
      Object.keys(attrs || {}).forEach(function (k) {
        if (k === 'onclick') node.onclick = attrs[k]; else node.setAttribute(k, attrs[k]);
      });
      (children || []).forEach(function (c) {
        node.appendChild(typeof c === 'string' ? document.createTextNode(c) : c);
      });
      return node;
    },
    json: function (path) { return fetch(path).then(function (r) { return r.json(); }); }
  };
  var flush = setInterval(function () {
    if (!window.KorvaneBridge) return;
    clearInterval(flush);
    window.korvaneReady = true;
    queued.splice(0).forEach(function (item) {
      if (typeof item === 'function') item(window.KorvaneBridge);
      else window.KorvaneBridge.postMessage(item[0], item[1] || {});
    });
  }, 20);
  window.demoApp = app;
})();
