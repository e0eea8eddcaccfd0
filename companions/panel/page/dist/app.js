var yr=Object.defineProperty;var $r=Object.getOwnPropertyDescriptor;var d=(s,t,e,r)=>{for(var i=r>1?void 0:r?$r(t,e):t,o=s.length-1,n;o>=0;o--)(n=s[o])&&(i=(r?n(t,e,i):n(i))||i);return r&&i&&yr(t,e,i),i};var je=/^(machines\/[^/]+)?\/?(channels\/\d+)?$/.exec(new URLSearchParams(location.search).get("at")??"")?.[0]??"",ct=`api/v1/${je&&je+"/"}`,ht="xp-token";function _t(){let s=/[#&?]token=([^&]+)/.exec(location.hash+location.search);if(!s)return;sessionStorage.setItem(ht,decodeURIComponent(s[1]));let t=location.search.replace(/[?&]token=[^&]*/,"").replace(/^&/,"?");history.replaceState(null,"",location.pathname+t+(location.hash.includes("token=")?"":location.hash))}var I=()=>sessionStorage.getItem(ht)??"",Ae=s=>sessionStorage.setItem(ht,s),_=class{constructor(t,e,r,i=""){this.status=t;this.code=e;this.sentence=r;this.hint=i}};function Fe(s){let t=new URL(ct+s,document.baseURI);return t.protocol=t.protocol==="https:"?"wss:":"ws:",t.href}var Ke=s=>new URL(ct+s,document.baseURI).href;async function q(s,t,e,r={}){let i={...r};I()&&(i.Authorization=`Bearer ${I()}`),e!==void 0&&(i["Content-Type"]="application/json");try{let o=await fetch(ct+t,{method:s,headers:i,body:e===void 0?void 0:JSON.stringify(e),cache:"no-store"});return o.ok?o:await kr(o)}catch{return new _(0,"unreachable","The panel does not answer.","It is asked again as soon as the link is back.")}}async function F(s){let t=await q("GET",s);if(t instanceof _)return t;try{return await t.json()}catch{return new _(t.status,"unreadable","The panel's answer cannot be read.")}}async function kr(s){try{let t=await s.json(),e=r=>typeof t[r]=="string"?t[r]:"";return new _(s.status,e("code")||String(s.status),e("detail")||e("title"),e("hint"))}catch{return new _(s.status,String(s.status),`The panel answers ${s.status}.`)}}_t();document.documentElement.dataset.theme=localStorage.getItem("xp-theme")??"dark";var Ve=globalThis,We=Ve.ShadowRoot&&(Ve.ShadyCSS===void 0||Ve.ShadyCSS.nativeShadow)&&"adoptedStyleSheets"in Document.prototype&&"replace"in CSSStyleSheet.prototype,pt=Symbol(),At=new WeakMap,Se=class{constructor(t,e,r){if(this._$cssResult$=!0,r!==pt)throw Error("CSSResult is not constructable. Use `unsafeCSS` or `css` instead.");this.cssText=t,this.t=e}get styleSheet(){let t=this.o,e=this.t;if(We&&t===void 0){let r=e!==void 0&&e.length===1;r&&(t=At.get(e)),t===void 0&&((this.o=t=new CSSStyleSheet).replaceSync(this.cssText),r&&At.set(e,t))}return t}toString(){return this.cssText}},St=s=>new Se(typeof s=="string"?s:s+"",void 0,pt),u=(s,...t)=>{let e=s.length===1?s[0]:t.reduce((r,i,o)=>r+(n=>{if(n._$cssResult$===!0)return n.cssText;if(typeof n=="number")return n;throw Error("Value passed to 'css' function must be a 'css' function result: "+n+". Use 'unsafeCSS' to pass non-literal values, but take care to ensure page security.")})(i)+s[o+1],s[0]);return new Se(e,s,pt)},Mt=(s,t)=>{if(We)s.adoptedStyleSheets=t.map(e=>e instanceof CSSStyleSheet?e:e.styleSheet);else for(let e of t){let r=document.createElement("style"),i=Ve.litNonce;i!==void 0&&r.setAttribute("nonce",i),r.textContent=e.cssText,s.appendChild(r)}},mt=We?s=>s:s=>s instanceof CSSStyleSheet?(t=>{let e="";for(let r of t.cssRules)e+=r.cssText;return St(e)})(s):s;var{is:xr,defineProperty:Er,getOwnPropertyDescriptor:_r,getOwnPropertyNames:Ar,getOwnPropertySymbols:Sr,getPrototypeOf:Mr}=Object,Ge=globalThis,Ct=Ge.trustedTypes,Cr=Ct?Ct.emptyScript:"",Tr=Ge.reactiveElementPolyfillSupport,Me=(s,t)=>s,Ce={toAttribute(s,t){switch(t){case Boolean:s=s?Cr:null;break;case Object:case Array:s=s==null?s:JSON.stringify(s)}return s},fromAttribute(s,t){let e=s;switch(t){case Boolean:e=s!==null;break;case Number:e=s===null?null:Number(s);break;case Object:case Array:try{e=JSON.parse(s)}catch{e=null}}return e}},Je=(s,t)=>!xr(s,t),Tt={attribute:!0,type:String,converter:Ce,reflect:!1,useDefault:!1,hasChanged:Je};Symbol.metadata??=Symbol("metadata"),Ge.litPropertyMetadata??=new WeakMap;var W=class extends HTMLElement{static addInitializer(t){this._$Ei(),(this.l??=[]).push(t)}static get observedAttributes(){return this.finalize(),this._$Eh&&[...this._$Eh.keys()]}static createProperty(t,e=Tt){if(e.state&&(e.attribute=!1),this._$Ei(),this.prototype.hasOwnProperty(t)&&((e=Object.create(e)).wrapped=!0),this.elementProperties.set(t,e),!e.noAccessor){let r=Symbol(),i=this.getPropertyDescriptor(t,r,e);i!==void 0&&Er(this.prototype,t,i)}}static getPropertyDescriptor(t,e,r){let{get:i,set:o}=_r(this.prototype,t)??{get(){return this[e]},set(n){this[e]=n}};return{get:i,set(n){let c=i?.call(this);o?.call(this,n),this.requestUpdate(t,c,r)},configurable:!0,enumerable:!0}}static getPropertyOptions(t){return this.elementProperties.get(t)??Tt}static _$Ei(){if(this.hasOwnProperty(Me("elementProperties")))return;let t=Mr(this);t.finalize(),t.l!==void 0&&(this.l=[...t.l]),this.elementProperties=new Map(t.elementProperties)}static finalize(){if(this.hasOwnProperty(Me("finalized")))return;if(this.finalized=!0,this._$Ei(),this.hasOwnProperty(Me("properties"))){let e=this.properties,r=[...Ar(e),...Sr(e)];for(let i of r)this.createProperty(i,e[i])}let t=this[Symbol.metadata];if(t!==null){let e=litPropertyMetadata.get(t);if(e!==void 0)for(let[r,i]of e)this.elementProperties.set(r,i)}this._$Eh=new Map;for(let[e,r]of this.elementProperties){let i=this._$Eu(e,r);i!==void 0&&this._$Eh.set(i,e)}this.elementStyles=this.finalizeStyles(this.styles)}static finalizeStyles(t){let e=[];if(Array.isArray(t)){let r=new Set(t.flat(1/0).reverse());for(let i of r)e.unshift(mt(i))}else t!==void 0&&e.push(mt(t));return e}static _$Eu(t,e){let r=e.attribute;return r===!1?void 0:typeof r=="string"?r:typeof t=="string"?t.toLowerCase():void 0}constructor(){super(),this._$Ep=void 0,this.isUpdatePending=!1,this.hasUpdated=!1,this._$Em=null,this._$Ev()}_$Ev(){this._$ES=new Promise(t=>this.enableUpdating=t),this._$AL=new Map,this._$E_(),this.requestUpdate(),this.constructor.l?.forEach(t=>t(this))}addController(t){(this._$EO??=new Set).add(t),this.renderRoot!==void 0&&this.isConnected&&t.hostConnected?.()}removeController(t){this._$EO?.delete(t)}_$E_(){let t=new Map,e=this.constructor.elementProperties;for(let r of e.keys())this.hasOwnProperty(r)&&(t.set(r,this[r]),delete this[r]);t.size>0&&(this._$Ep=t)}createRenderRoot(){let t=this.shadowRoot??this.attachShadow(this.constructor.shadowRootOptions);return Mt(t,this.constructor.elementStyles),t}connectedCallback(){this.renderRoot??=this.createRenderRoot(),this.enableUpdating(!0),this._$EO?.forEach(t=>t.hostConnected?.())}enableUpdating(t){}disconnectedCallback(){this._$EO?.forEach(t=>t.hostDisconnected?.())}attributeChangedCallback(t,e,r){this._$AK(t,r)}_$ET(t,e){let r=this.constructor.elementProperties.get(t),i=this.constructor._$Eu(t,r);if(i!==void 0&&r.reflect===!0){let o=(r.converter?.toAttribute!==void 0?r.converter:Ce).toAttribute(e,r.type);this._$Em=t,o==null?this.removeAttribute(i):this.setAttribute(i,o),this._$Em=null}}_$AK(t,e){let r=this.constructor,i=r._$Eh.get(t);if(i!==void 0&&this._$Em!==i){let o=r.getPropertyOptions(i),n=typeof o.converter=="function"?{fromAttribute:o.converter}:o.converter?.fromAttribute!==void 0?o.converter:Ce;this._$Em=i;let c=n.fromAttribute(e,o.type);this[i]=c??this._$Ej?.get(i)??c,this._$Em=null}}requestUpdate(t,e,r,i=!1,o){if(t!==void 0){let n=this.constructor;if(i===!1&&(o=this[t]),r??=n.getPropertyOptions(t),!((r.hasChanged??Je)(o,e)||r.useDefault&&r.reflect&&o===this._$Ej?.get(t)&&!this.hasAttribute(n._$Eu(t,r))))return;this.C(t,e,r)}this.isUpdatePending===!1&&(this._$ES=this._$EP())}C(t,e,{useDefault:r,reflect:i,wrapped:o},n){r&&!(this._$Ej??=new Map).has(t)&&(this._$Ej.set(t,n??e??this[t]),o!==!0||n!==void 0)||(this._$AL.has(t)||(this.hasUpdated||r||(e=void 0),this._$AL.set(t,e)),i===!0&&this._$Em!==t&&(this._$Eq??=new Set).add(t))}async _$EP(){this.isUpdatePending=!0;try{await this._$ES}catch(e){Promise.reject(e)}let t=this.scheduleUpdate();return t!=null&&await t,!this.isUpdatePending}scheduleUpdate(){return this.performUpdate()}performUpdate(){if(!this.isUpdatePending)return;if(!this.hasUpdated){if(this.renderRoot??=this.createRenderRoot(),this._$Ep){for(let[i,o]of this._$Ep)this[i]=o;this._$Ep=void 0}let r=this.constructor.elementProperties;if(r.size>0)for(let[i,o]of r){let{wrapped:n}=o,c=this[i];n!==!0||this._$AL.has(i)||c===void 0||this.C(i,void 0,o,c)}}let t=!1,e=this._$AL;try{t=this.shouldUpdate(e),t?(this.willUpdate(e),this._$EO?.forEach(r=>r.hostUpdate?.()),this.update(e)):this._$EM()}catch(r){throw t=!1,this._$EM(),r}t&&this._$AE(e)}willUpdate(t){}_$AE(t){this._$EO?.forEach(e=>e.hostUpdated?.()),this.hasUpdated||(this.hasUpdated=!0,this.firstUpdated(t)),this.updated(t)}_$EM(){this._$AL=new Map,this.isUpdatePending=!1}get updateComplete(){return this.getUpdateComplete()}getUpdateComplete(){return this._$ES}shouldUpdate(t){return!0}update(t){this._$Eq&&=this._$Eq.forEach(e=>this._$ET(e,this[e])),this._$EM()}updated(t){}firstUpdated(t){}};W.elementStyles=[],W.shadowRootOptions={mode:"open"},W[Me("elementProperties")]=new Map,W[Me("finalized")]=new Map,Tr?.({ReactiveElement:W}),(Ge.reactiveElementVersions??=[]).push("2.1.2");var gt=globalThis,Pt=s=>s,Ye=gt.trustedTypes,Rt=Ye?Ye.createPolicy("lit-html",{createHTML:s=>s}):void 0,ft="$lit$",G=`lit$${Math.random().toFixed(9).slice(2)}$`,vt="?"+G,Pr=`<${vt}>`,de=document,Pe=()=>de.createComment(""),Re=s=>s===null||typeof s!="object"&&typeof s!="function",bt=Array.isArray,Dt=s=>bt(s)||typeof s?.[Symbol.iterator]=="function",ut=`[ 	
\f\r]`,Te=/<(?:(!--|\/[^a-zA-Z])|(\/?[a-zA-Z][^>\s]*)|(\/?$))/g,Lt=/-->/g,zt=/>/g,ae=RegExp(`>|${ut}(?:([^\\s"'>=/]+)(${ut}*=${ut}*(?:[^ 	
\f\r"'\`<>=]|("|')|))|$)`,"g"),Ht=/'/g,Ot=/"/g,Nt=/^(?:script|style|textarea|title)$/i,wt=s=>(t,...e)=>({_$litType$:s,strings:t,values:e}),a=wt(1),O=wt(2),Ai=wt(3),J=Symbol.for("lit-noChange"),h=Symbol.for("lit-nothing"),Ut=new WeakMap,le=de.createTreeWalker(de,129);function It(s,t){if(!bt(s)||!s.hasOwnProperty("raw"))throw Error("invalid template strings array");return Rt!==void 0?Rt.createHTML(t):t}var qt=(s,t)=>{let e=s.length-1,r=[],i,o=t===2?"<svg>":t===3?"<math>":"",n=Te;for(let c=0;c<e;c++){let l=s[c],m,v,p=-1,$=0;for(;$<l.length&&(n.lastIndex=$,v=n.exec(l),v!==null);)$=n.lastIndex,n===Te?v[1]==="!--"?n=Lt:v[1]!==void 0?n=zt:v[2]!==void 0?(Nt.test(v[2])&&(i=RegExp("</"+v[2],"g")),n=ae):v[3]!==void 0&&(n=ae):n===ae?v[0]===">"?(n=i??Te,p=-1):v[1]===void 0?p=-2:(p=n.lastIndex-v[2].length,m=v[1],n=v[3]===void 0?ae:v[3]==='"'?Ot:Ht):n===Ot||n===Ht?n=ae:n===Lt||n===zt?n=Te:(n=ae,i=void 0);let k=n===ae&&s[c+1].startsWith("/>")?" ":"";o+=n===Te?l+Pr:p>=0?(r.push(m),l.slice(0,p)+ft+l.slice(p)+G+k):l+G+(p===-2?c:k)}return[It(s,o+(s[e]||"<?>")+(t===2?"</svg>":t===3?"</math>":"")),r]},Le=class s{constructor({strings:t,_$litType$:e},r){let i;this.parts=[];let o=0,n=0,c=t.length-1,l=this.parts,[m,v]=qt(t,e);if(this.el=s.createElement(m,r),le.currentNode=this.el.content,e===2||e===3){let p=this.el.content.firstChild;p.replaceWith(...p.childNodes)}for(;(i=le.nextNode())!==null&&l.length<c;){if(i.nodeType===1){if(i.hasAttributes())for(let p of i.getAttributeNames())if(p.endsWith(ft)){let $=v[n++],k=i.getAttribute(p).split(G),w=/([.?@])?(.*)/.exec($);l.push({type:1,index:o,name:w[2],strings:k,ctor:w[1]==="."?Ze:w[1]==="?"?Xe:w[1]==="@"?et:he}),i.removeAttribute(p)}else p.startsWith(G)&&(l.push({type:6,index:o}),i.removeAttribute(p));if(Nt.test(i.tagName)){let p=i.textContent.split(G),$=p.length-1;if($>0){i.textContent=Ye?Ye.emptyScript:"";for(let k=0;k<$;k++)i.append(p[k],Pe()),le.nextNode(),l.push({type:2,index:++o});i.append(p[$],Pe())}}}else if(i.nodeType===8)if(i.data===vt)l.push({type:2,index:o});else{let p=-1;for(;(p=i.data.indexOf(G,p+1))!==-1;)l.push({type:7,index:o}),p+=G.length-1}o++}}static createElement(t,e){let r=de.createElement("template");return r.innerHTML=t,r}};function ce(s,t,e=s,r){if(t===J)return t;let i=r!==void 0?e._$Co?.[r]:e._$Cl,o=Re(t)?void 0:t._$litDirective$;return i?.constructor!==o&&(i?._$AO?.(!1),o===void 0?i=void 0:(i=new o(s),i._$AT(s,e,r)),r!==void 0?(e._$Co??=[])[r]=i:e._$Cl=i),i!==void 0&&(t=ce(s,i._$AS(s,t.values),i,r)),t}var Qe=class{constructor(t,e){this._$AV=[],this._$AN=void 0,this._$AD=t,this._$AM=e}get parentNode(){return this._$AM.parentNode}get _$AU(){return this._$AM._$AU}u(t){let{el:{content:e},parts:r}=this._$AD,i=(t?.creationScope??de).importNode(e,!0);le.currentNode=i;let o=le.nextNode(),n=0,c=0,l=r[0];for(;l!==void 0;){if(n===l.index){let m;l.type===2?m=new fe(o,o.nextSibling,this,t):l.type===1?m=new l.ctor(o,l.name,l.strings,this,t):l.type===6&&(m=new tt(o,this,t)),this._$AV.push(m),l=r[++c]}n!==l?.index&&(o=le.nextNode(),n++)}return le.currentNode=de,i}p(t){let e=0;for(let r of this._$AV)r!==void 0&&(r.strings!==void 0?(r._$AI(t,r,e),e+=r.strings.length-2):r._$AI(t[e])),e++}},fe=class s{get _$AU(){return this._$AM?._$AU??this._$Cv}constructor(t,e,r,i){this.type=2,this._$AH=h,this._$AN=void 0,this._$AA=t,this._$AB=e,this._$AM=r,this.options=i,this._$Cv=i?.isConnected??!0}get parentNode(){let t=this._$AA.parentNode,e=this._$AM;return e!==void 0&&t?.nodeType===11&&(t=e.parentNode),t}get startNode(){return this._$AA}get endNode(){return this._$AB}_$AI(t,e=this){t=ce(this,t,e),Re(t)?t===h||t==null||t===""?(this._$AH!==h&&this._$AR(),this._$AH=h):t!==this._$AH&&t!==J&&this._(t):t._$litType$!==void 0?this.$(t):t.nodeType!==void 0?this.T(t):Dt(t)?this.k(t):this._(t)}O(t){return this._$AA.parentNode.insertBefore(t,this._$AB)}T(t){this._$AH!==t&&(this._$AR(),this._$AH=this.O(t))}_(t){this._$AH!==h&&Re(this._$AH)?this._$AA.nextSibling.data=t:this.T(de.createTextNode(t)),this._$AH=t}$(t){let{values:e,_$litType$:r}=t,i=typeof r=="number"?this._$AC(t):(r.el===void 0&&(r.el=Le.createElement(It(r.h,r.h[0]),this.options)),r);if(this._$AH?._$AD===i)this._$AH.p(e);else{let o=new Qe(i,this),n=o.u(this.options);o.p(e),this.T(n),this._$AH=o}}_$AC(t){let e=Ut.get(t.strings);return e===void 0&&Ut.set(t.strings,e=new Le(t)),e}k(t){bt(this._$AH)||(this._$AH=[],this._$AR());let e=this._$AH,r,i=0;for(let o of t)i===e.length?e.push(r=new s(this.O(Pe()),this.O(Pe()),this,this.options)):r=e[i],r._$AI(o),i++;i<e.length&&(this._$AR(r&&r._$AB.nextSibling,i),e.length=i)}_$AR(t=this._$AA.nextSibling,e){for(this._$AP?.(!1,!0,e);t!==this._$AB;){let r=Pt(t).nextSibling;Pt(t).remove(),t=r}}setConnected(t){this._$AM===void 0&&(this._$Cv=t,this._$AP?.(t))}},he=class{get tagName(){return this.element.tagName}get _$AU(){return this._$AM._$AU}constructor(t,e,r,i,o){this.type=1,this._$AH=h,this._$AN=void 0,this.element=t,this.name=e,this._$AM=i,this.options=o,r.length>2||r[0]!==""||r[1]!==""?(this._$AH=Array(r.length-1).fill(new String),this.strings=r):this._$AH=h}_$AI(t,e=this,r,i){let o=this.strings,n=!1;if(o===void 0)t=ce(this,t,e,0),n=!Re(t)||t!==this._$AH&&t!==J,n&&(this._$AH=t);else{let c=t,l,m;for(t=o[0],l=0;l<o.length-1;l++)m=ce(this,c[r+l],e,l),m===J&&(m=this._$AH[l]),n||=!Re(m)||m!==this._$AH[l],m===h?t=h:t!==h&&(t+=(m??"")+o[l+1]),this._$AH[l]=m}n&&!i&&this.j(t)}j(t){t===h?this.element.removeAttribute(this.name):this.element.setAttribute(this.name,t??"")}},Ze=class extends he{constructor(){super(...arguments),this.type=3}j(t){this.element[this.name]=t===h?void 0:t}},Xe=class extends he{constructor(){super(...arguments),this.type=4}j(t){this.element.toggleAttribute(this.name,!!t&&t!==h)}},et=class extends he{constructor(t,e,r,i,o){super(t,e,r,i,o),this.type=5}_$AI(t,e=this){if((t=ce(this,t,e,0)??h)===J)return;let r=this._$AH,i=t===h&&r!==h||t.capture!==r.capture||t.once!==r.once||t.passive!==r.passive,o=t!==h&&(r===h||i);i&&this.element.removeEventListener(this.name,this,r),o&&this.element.addEventListener(this.name,this,t),this._$AH=t}handleEvent(t){typeof this._$AH=="function"?this._$AH.call(this.options?.host??this.element,t):this._$AH.handleEvent(t)}},tt=class{constructor(t,e,r){this.element=t,this.type=6,this._$AN=void 0,this._$AM=e,this.options=r}get _$AU(){return this._$AM._$AU}_$AI(t){ce(this,t)}},Bt={M:ft,P:G,A:vt,C:1,L:qt,R:Qe,D:Dt,V:ce,I:fe,H:he,N:Xe,U:et,B:Ze,F:tt},Rr=gt.litHtmlPolyfillSupport;Rr?.(Le,fe),(gt.litHtmlVersions??=[]).push("3.3.3");var jt=(s,t,e)=>{let r=e?.renderBefore??t,i=r._$litPart$;if(i===void 0){let o=e?.renderBefore??null;r._$litPart$=i=new fe(t.insertBefore(Pe(),o),o,void 0,e??{})}return i._$AI(s),i};var yt=globalThis,S=class extends W{constructor(){super(...arguments),this.renderOptions={host:this},this._$Do=void 0}createRenderRoot(){let t=super.createRenderRoot();return this.renderOptions.renderBefore??=t.firstChild,t}update(t){let e=this.render();this.hasUpdated||(this.renderOptions.isConnected=this.isConnected),super.update(t),this._$Do=jt(e,this.renderRoot,this.renderOptions)}connectedCallback(){super.connectedCallback(),this._$Do?.setConnected(!0)}disconnectedCallback(){super.disconnectedCallback(),this._$Do?.setConnected(!1)}render(){return J}};S._$litElement$=!0,S.finalized=!0,yt.litElementHydrateSupport?.({LitElement:S});var Lr=yt.litElementPolyfillSupport;Lr?.({LitElement:S});(yt.litElementVersions??=[]).push("4.2.2");var g=s=>(t,e)=>{e!==void 0?e.addInitializer(()=>{customElements.define(s,t)}):customElements.define(s,t)};var zr={attribute:!0,type:String,converter:Ce,reflect:!1,hasChanged:Je},Hr=(s=zr,t,e)=>{let{kind:r,metadata:i}=e,o=globalThis.litPropertyMetadata.get(i);if(o===void 0&&globalThis.litPropertyMetadata.set(i,o=new Map),r==="setter"&&((s=Object.create(s)).wrapped=!0),o.set(e.name,s),r==="accessor"){let{name:n}=e;return{set(c){let l=t.get.call(this);t.set.call(this,c),this.requestUpdate(n,l,s,!0,c)},init(c){return c!==void 0&&this.C(n,void 0,s,c),c}}}if(r==="setter"){let{name:n}=e;return function(c){let l=this[n];t.call(this,c),this.requestUpdate(n,l,s,!0,c)}}throw Error("Unsupported decorator location: "+r)};function f(s){return(t,e)=>typeof e=="object"?Hr(s,t,e):((r,i,o)=>{let n=i.hasOwnProperty(o);return i.constructor.createProperty(o,r),n?Object.getOwnPropertyDescriptor(i,o):void 0})(s,t,e)}function b(s){return f({...s,state:!0,attribute:!1})}var pe=(s,t,e)=>(e.configurable=!0,e.enumerable=!0,Reflect.decorate&&typeof t!="object"&&Object.defineProperty(s,t,e),e);function A(s,t){return(e,r,i)=>{let o=n=>n.renderRoot?.querySelector(s)??null;if(t){let{get:n,set:c}=typeof r=="object"?e:i??(()=>{let l=Symbol();return{get(){return this[l]},set(m){this[l]=m}}})();return pe(e,r,{get(){let l=n.call(this);return l===void 0&&(l=o(this),(l!==null||this.hasUpdated)&&c.call(this,l)),l}})}return pe(e,r,{get(){return o(this)}})}}var ze=class extends Event{constructor(e){super("xp-frame");this.frame=e}};function rt(s,t,e){if(!t)return()=>{};let r=s.getRootNode(),i=o=>{o instanceof ze&&o.target.id===t&&e(o.frame)};return r.addEventListener("xp-frame",i,!0),()=>r.removeEventListener("xp-frame",i,!0)}var U=-60,Or=20/1.7,Ur=1500,He=-9,Dr=-18,Nr=[0,-6,-12,-18,-24,-30,-40,-50],Ir=s=>s>0?Math.max(U,20*Math.log10(s)):U,K=class extends S{constructor(){super(...arguments);this.channels=8;this.flat=!1;this.stale=!1;this.picture="";this.state=[];this.shown=0;this.loudest=U;this.release=()=>{};this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.release=rt(this,this.picture,e=>this.show(e.meters)),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.release(),this.observer.disconnect()}show(e){let r=performance.now(),i=this.shown?Or*Math.min(r-this.shown,1e3)/1e3:0;this.shown=r,this.loudest=U;for(let o=0;o<this.channels;++o){let n=Ir(e[o]??0),c=this.state[o]??={level:U,peak:U,peakAt:0};c.level=Math.max(n,c.level-i),n>=c.peak?[c.peak,c.peakAt]=[n,r]:r-c.peakAt>Ur&&(c.peak=Math.max(c.level,c.peak-i)),this.loudest=Math.max(this.loudest,c.level)}this.draw()}draw(){let e=this.canvas,r=e?.getContext("2d");if(!r||!this.clientWidth)return;let i=window.devicePixelRatio,o=Math.round(this.clientWidth*i),n=Math.round(this.clientHeight*i);(e.width!==o||e.height!==n)&&([e.width,e.height]=[o,n]);let c=getComputedStyle(this),l=(C,N)=>c.getPropertyValue(C).trim()||N;r.clearRect(0,0,o,n);let v=.62*(parseFloat(c.fontSize)*i),p=this.flat?1.1*v:2*v,$=this.flat?1.2*v:1.5*v,k=this.flat?o-$:n-$-v/2,w=(this.flat?n:o)-p,E=w/this.channels,L=Math.max(1,Math.floor(E*.68)),D=C=>Math.round((Math.max(C,U)-U)/-U*k);r.font=`${v}px ${l("--sans","sans-serif")}`,r.textBaseline="middle";let _e=(C,N,j,Et)=>{this.flat?r.fillRect($+C,N,j,Et):r.fillRect(p+N,n-$-C-j,Et,j)};for(let C=0;C<this.channels;++C){let N=Math.round(C*E),j=this.state[C]??{level:U,peak:U,peakAt:0};r.fillStyle=l("--raised","#1b1e21"),_e(0,N,k,L),r.fillStyle=l("--text","#c9ced3"),_e(0,N,D(Math.min(j.level,He)),L),j.level>He&&(r.fillStyle=l("--amber","#f0a830"),_e(D(He),N,D(j.level)-D(He),L)),j.peak>U&&(r.fillStyle=j.peak>He?l("--amber","#f0a830"):l("--bright","#fff"),_e(D(j.peak)-Math.ceil(i),N,2*Math.ceil(i),L)),r.fillStyle=l("--dim","#8d959d"),r.textAlign="center",!(E<v)&&(this.flat?r.fillText(String(C+1),v/2,N+L/2):r.fillText(String(C+1),p+N+L/2,n-$/2))}r.textAlign=this.flat?"center":"right";for(let C of Nr)r.fillStyle=l(C===Dr?"--bright":"--dim","#8d959d"),this.flat?r.fillText(String(-C),Math.min($+D(C),o-v/2),n-p/2):r.fillText(String(-C),p-.45*v,n-$-D(C)),r.fillStyle=l("--ground","#000"),_e(D(C),0,Math.max(1,Math.round(i)),w)}render(){let e=this.loudest<=U?"silent":`${this.loudest.toFixed(0)} decibels of full scale`;return a`<canvas role="img" aria-label="Sound levels: ${e}"></canvas>`}};K.styles=u`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
    :host([stale]) canvas { opacity: 0.3; }
  `,d([f({type:Number})],K.prototype,"channels",2),d([f({type:Boolean})],K.prototype,"flat",2),d([f({type:Boolean,reflect:!0})],K.prototype,"stale",2),d([f({attribute:"for"})],K.prototype,"picture",2),d([A("canvas")],K.prototype,"canvas",2),K=d([g("xp-meter")],K);var qr=1,Br=200,jr=800,Fr=1e3,it=class{constructor(){this.onframe=()=>{};this.fallback=!1;this.at="";this.socket=null;this.waiting=null;this.decoding=!1;this.failures=0;this.heard=0;this.running=!1}start(){this.running||(this.running=!0,this.connect())}stop(){this.running=!1,this.socket?.close(),this.socket=null}renew(){if(!this.running||this.age<Fr||!this.socket)return;let t=this.socket;this.socket=null,t.onmessage=t.onclose=null,t.close(),this.open()}connect(){if(this.running){if(this.failures>=3){this.fallback||(this.fallback=!0,this.askForFile()),setTimeout(()=>this.open(),jr);return}this.open()}}open(){if(!this.running)return;let t;try{t=new WebSocket(Fe(`${this.at}pictures`),I()?["xp",`token.${I()}`]:["xp"])}catch{this.failures++,setTimeout(()=>this.connect(),200);return}t.binaryType="arraybuffer",this.socket=t,t.onmessage=e=>{e.data instanceof ArrayBuffer&&(this.failures=0,this.fallback=!1,this.heard=performance.now(),this.waiting=e.data,this.decode())},t.onclose=()=>{t===this.socket&&(this.socket=null,this.failures++,setTimeout(()=>this.connect(),200))}}get age(){return performance.now()-this.heard}async decode(){if(!this.decoding){for(this.decoding=!0;this.waiting;){let t=this.waiting;this.waiting=null;try{let e=await Kr(t);e&&this.onframe(e)}catch{}}this.decoding=!1}}async askForFile(){for(;this.running&&this.fallback;){try{let t=await fetch(Ke(`${this.at}picture.jpg`),{cache:"no-store",headers:I()?{Authorization:`Bearer ${I()}`}:{}});t.ok&&await this.showFile(t)}catch{}await new Promise(t=>setTimeout(t,Br))}}async showFile(t){let e=i=>t.headers.get(i)??"",r=await createImageBitmap(await t.blob());this.heard=performance.now(),this.onframe({tick:Number(e("X-Tick")),frame:Number(e("X-Frame")||-1),timecode:e("X-Timecode"),isCapture:e("X-Capture")==="1",isRepeat:!1,hasPicture:!0,meters:e("X-Meters").split(",").filter(Boolean).map(Number),loudness:null,captured:Number(e("X-Captured")),image:r})}};async function Kr(s){let t=new DataView(s);if(s.byteLength<112||t.getUint16(0,!0)!==qr)return null;let e=t.getUint16(2,!0),r=t.getUint32(4,!0),i=[];for(let c=0;c<8;++c)i.push(t.getFloat32(32+4*c,!0));let o=new TextDecoder().decode(new Uint8Array(s,64,32)),n=await createImageBitmap(new Blob([new Uint8Array(s,e)],{type:"image/jpeg"}));return{tick:Number(t.getBigInt64(8,!0)),frame:Number(t.getBigInt64(16,!0)),captured:Number(t.getBigInt64(24,!0))/1e6,meters:i,loudness:e>=120?[t.getFloat32(112,!0),t.getFloat32(116,!0)]:null,timecode:o.slice(0,o.indexOf("\0")<0?void 0:o.indexOf("\0")),isCapture:(r&1)!==0,isRepeat:(r&2)!==0,hasPicture:(r&4)!==0,image:n}}var ie=class extends S{constructor(){super(...arguments);this.auto=!1;this.stale=!1;this.link=new it;this.last=null}connectedCallback(){super.connectedCallback(),this.link.onframe=e=>this.paint(e),this.auto&&this.link.start()}disconnectedCallback(){super.disconnectedCallback(),this.link.stop()}paint(e){let r=this.canvas;r&&((r.width!==e.image.width||r.height!==e.image.height)&&(r.width=e.image.width,r.height=e.image.height),r.getContext("2d",{alpha:!1})?.drawImage(e.image,0,0),e.image.close(),this.last=e,this.dispatchEvent(new ze(e)))}render(){return a`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`}};ie.styles=u`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `,d([f({type:Boolean})],ie.prototype,"auto",2),d([f({type:Boolean,reflect:!0})],ie.prototype,"stale",2),d([A("canvas")],ie.prototype,"canvas",2),ie=d([g("xp-picture")],ie);var Y=class extends S{constructor(){super(...arguments);this.value="--:--:--:--";this.age=0;this.recording=!1;this.picture="";this.release=()=>{}}connectedCallback(){super.connectedCallback(),this.release=rt(this,this.picture,e=>this.value=e.timecode)}disconnectedCallback(){super.disconnectedCallback(),this.release()}render(){let e=this.age>0;return a`<span role="timer" aria-live="off" class=${e?"stale":""}>${this.value||"--:--:--:--"}</span>${this.age>=1?a`<span class="age">${(this.age/1e3).toFixed(1)} s old</span>`:h}`}};Y.styles=u`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; position: relative; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--amber, #f0a830); position: absolute; right: 0; bottom: 0; padding: 0 0.4em; background: var(--panel, #101214); }
  `,d([f()],Y.prototype,"value",2),d([f({type:Number})],Y.prototype,"age",2),d([f({type:Boolean,reflect:!0})],Y.prototype,"recording",2),d([f({attribute:"for"})],Y.prototype,"picture",2),Y=d([g("xp-timecode")],Y);var Ft=500,Kt=[100,250,500,900],ve=class{constructor(t=""){this.at=t;this.state=null;this.counters={};this.verbs=[];this.parameters=new Map;this.pending=new Set;this.notice=null;this.linked=!1;this.me={name:"",role:"view"};this.silence=0;this.blindness=0;this.clockOffset=null;this.version="";this.onlink=()=>{};this.socket=null;this.seq=-1;this.boot="";this.heard=performance.now();this.seen=performance.now();this.asked=performance.now();this.tries=0;this.listeners=new Set;this.scheduled=!1;this.bestTrip=1/0;this.owedSteps=0;this.stepping=!1;this.wantedSpeed=null;this.speeding=!1;this.timer=0;this.beats=0;this.watch=()=>{(this.beats++<10||this.beats%10===0)&&this.ping();let t=performance.now(),e=t-this.heard;Math.min(e,t-this.asked)>3*Ft&&this.socket&&this.abandon(this.socket);let r=o=>o>Ft?o:0,i=this.state?.running===!1?0:r(t-this.seen);r(e)===this.silence&&i===this.blindness||(this.silence=r(e),this.blindness=i,this.changed())}}start(){this.connect(),this.timer=window.setInterval(()=>this.watch(),100),document.addEventListener("visibilitychange",this.watch)}stop(){clearInterval(this.timer),document.removeEventListener("visibilitychange",this.watch);let t=this.socket;this.socket=null,t?.close()}subscribe(t){return this.listeners.add(t),()=>this.listeners.delete(t)}pictureSeen(){this.seen=performance.now(),this.blindness!==0&&(this.blindness=0,this.changed())}get stale(){return this.silence>0}get frozen(){return Math.max(this.silence,this.blindness)}verb(t){return this.verbs.find(e=>e.name===t)}async run(t,e={}){this.pending=new Set([...this.pending,t]),this.changed();let r=await q("POST",`${this.at}transport/${t}`,e);this.pending=new Set([...this.pending].filter(o=>o!==t));let i=await Vt(r);return i.done?this.notice?.kind==="refused"&&(this.notice=null):this.tell({kind:"refused",title:M(t),text:st(i)}),this.changed(),i}steps(t){this.owedSteps+=t,!this.stepping&&(this.stepping=!0,(async()=>{for(;this.owedSteps!==0;){let e=this.owedSteps;this.owedSteps=0,(await this.run("step",{frames:e})).done||(this.owedSteps=0)}this.stepping=!1})())}speed(t){this.wantedSpeed=t,!this.speeding&&(this.speeding=!0,(async()=>{for(;this.wantedSpeed!==null;){let e=this.wantedSpeed;this.wantedSpeed=null,(e===0?await this.run("still"):await this.run("play",{speed:e})).done||(this.wantedSpeed=null)}this.speeding=!1})())}async set(t,e){let r=await Vt(await q("PUT",`${this.at}params/${encodeURIComponent(t)}`,{value:e}));return r.done||this.tell({kind:"refused",title:t,text:st(r)}),r}tell(t){this.notice=t,this.changed()}changed(){this.scheduled||(this.scheduled=!0,queueMicrotask(()=>{this.scheduled=!1;for(let t of[...this.listeners])t()}))}connect(){let t=new URLSearchParams;this.seq>=0&&t.set("since",String(this.seq)),this.boot&&t.set("boot",this.boot),this.asked=performance.now();let e=new WebSocket(Fe(`${this.at}events`)+(t.size?`?${t}`:""),I()?["xp",`token.${I()}`]:["xp"]);this.socket=e,e.onopen=()=>this.ping(),e.onmessage=r=>this.receive(r),e.onclose=()=>this.lost(e)}abandon(t){t.onmessage=t.onclose=null,t.close(),this.lost(t)}reconnect(){this.seq=-1,this.tries=0,this.socket?.close()}async whoAmI(){let t=await F(`${this.at}me`);if(t instanceof _){if(t.status!==401||!I())return;Ae(""),this.tell({kind:"lost",title:"The session has ended",text:"This page may only watch until you log in again, under Control."});return}t.name===this.me.name&&t.role===this.me.role||(this.me=t,this.changed())}lost(t){if(t!==this.socket)return;this.socket=null,this.linked=!1,this.changed(),this.tries>0&&this.whoAmI();let e=Kt[Math.min(this.tries++,Kt.length-1)];setTimeout(()=>this.connect(),e)}receive(t){let e;try{e=JSON.parse(String(t.data))}catch{return}switch(this.heard=performance.now(),this.silence=0,e.type){case"hello":this.boot!==e.boot&&(this.seq=-1),this.boot=String(e.boot??""),this.version=String(e.version??""),this.linked=!0,this.tries=0,this.onlink(),this.whoAmI(),this.readTables();break;case"counters":this.counters=e.counters;break;case"snapshot":this.state=e.state,this.seq=Number(e.seq);break;case"delta":if(this.state===null||Number(e.seq)!==this.seq+1){this.seq=-1,this.socket?.close();return}this.seq=Number(e.seq),this.state={...this.state,...e.changed};break;case"pong":this.measure(Number(e.ping),Number(e.time));return;default:return}this.changed()}ping(){this.socket?.readyState===WebSocket.OPEN&&this.socket.send(JSON.stringify({ping:performance.now()}))}measure(t,e){let i=performance.now()-t;this.bestTrip=Math.min(this.bestTrip*1.02,1/0),!(i>this.bestTrip)&&(this.bestTrip=i,this.clockOffset=e-(t+i/2))}async readTables(){let t=await F(`${this.at}verbs`);t instanceof _||(this.verbs=t.verbs),await this.readParameters()}async readParameters(){let t=await F(`${this.at}params`);t instanceof _||(this.parameters=new Map(t.parameters.map(e=>[e.name,e])),this.changed())}};function Oe(s){let t=/^[a-z]+(?=[\s,:;']|$)/.test(s)?s.charAt(0).toUpperCase()+s.slice(1):s;return s&&t.replace(/[.]?$/,".")}var M=s=>{let t=s.replaceAll("_"," ");return t.charAt(0).toUpperCase()+t.slice(1)};function st(s){return[s.sentence,s.hint].filter(Boolean).map(Oe).join(" ")}async function Vt(s){return s instanceof _?{done:!1,code:s.code,sentence:s.sentence,hint:s.hint}:{done:!0,code:"done",sentence:"",hint:""}}var P=s=>s?.status==="recording";function Wt(){let s=[],t=0;return{add(e){return s.push(e),s.length>50&&s.shift(),++t%10!==0?null:[...s].sort((r,i)=>r-i)[s.length>>1]},all:()=>[...s]}}var x=class extends S{constructor(){super(...arguments);this.unsubscribe=()=>{};this.followed=[]}connectedCallback(){super.connectedCallback(),this.unsubscribe=this.deck.subscribe(()=>{let e=this.follows();e&&this.followed.length===e.length&&e.every((r,i)=>r===this.followed[i])||(this.followed=e??[],this.requestUpdate())})}disconnectedCallback(){super.disconnectedCallback(),this.unsubscribe()}follows(){return null}render(){try{return this.view()??h}catch(e){return a`<p role="alert">This part cannot be shown (${String(e)}). The others are not affected.</p>`}}};d([f({attribute:!1})],x.prototype,"deck",2);var y=u`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  [aria-pressed="true"], [aria-pressed="true"]:hover { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
  a { color: var(--bright); }
  button:disabled { color: var(--off); cursor: default; background: var(--panel); border-style: var(--off-border); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;var Gt={error:"✕",warning:"!",information:"i",clear:"✓"},me=class extends x{constructor(){super(...arguments);this.history=[];this.problem="";this.known="";this.reading=!1}willUpdate(){let e=(this.deck.state?.alarm_list??[]).map(r=>r.name+r.since+(r.acknowledged_by??"")).join();e===this.known&&this.history.length||(this.known=e,this.read())}async read(){if(this.reading)return;this.reading=!0;let e=await F("alarms/history");e instanceof _?this.problem=e.sentence:(this.problem="",this.history=e.history),setTimeout(()=>this.reading=!1,1e3)}follows(){return[this.deck.state?.alarm_list]}view(){let e=this.deck.state?.alarm_list??[];return a`
      <section aria-label="Now">
        <h2>Now</h2>
        ${e.length?e.map(r=>this.alarm(r)):a`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0,200).map(r=>a`<tr><td>${r.time.replace("T"," ").slice(0,19)}</td><td aria-label=${r.level}>${Gt[r.level]??""}</td><td>${M(r.name)}${r.message?a`: <bdi>${r.message}</bdi>`:h}</td></tr>`)}
          </tbody>
        </table>
      </section>
    `}alarm(e){return a`<article class=${e.level}>
      <header><b>${Gt[e.level]} ${M(e.name)}</b><span>${M(e.level)} since ${e.since.replace("T"," ").slice(0,19)}</span></header>
      <p><bdi>${e.message}</bdi></p>
      <p class="dim">${Oe(e.advice)}</p>
      ${e.acknowledged_by?a`<p class="dim">Seen by <bdi>${e.acknowledged_by}</bdi>.</p>`:this.deck.verb("acknowledge")?a`<button class="small" data-verb="acknowledge" @click=${()=>{this.deck.run("acknowledge",{alarm:e.name})}}>Seen</button>`:h}
    </article>`}};me.styles=[y,u`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: grid; gap: 0.1rem; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      article button { justify-self: start; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); }
    `],d([b()],me.prototype,"history",2),d([b()],me.prototype,"problem",2),me=d([g("xp-alarms")],me);var Vr={record:O`<circle cx="12" cy="12" r="7"/>`,stop:O`<rect x="5.5" y="5.5" width="13" height="13"/>`,play:O`<path d="M7 4.5v15L20 12z"/>`,reverse:O`<path d="M17 4.5v15L4 12z"/>`,still:O`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,forward:O`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,rewind:O`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,next:O`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,prev:O`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,step:O`<path d="M9 6v12l8-6z"/>`,back:O`<path d="M15 6v12l-8-6z"/>`},Jt=s=>a`<svg viewBox="0 0 24 24" aria-hidden="true">${Vr[s]}</svg>`;var Wr=1e3,Yt=s=>["delete","shut_down"].includes(s),ot=class extends Event{constructor(e){super("xp-forms",{bubbles:!0,composed:!0});this.verb=e}},T=class extends S{constructor(){super(...arguments);this.verb="";this.label="";this.icon="";this.hint="";this.lit=!1;this.red=!1;this.pending=!1;this.hold=!1;this.disabled=!1;this.toggle=!1;this.held=0;this.since=0}focus(){this.renderRoot.querySelector("button")?.focus()}press(){this.dispatchEvent(new Event("press",{bubbles:!0,composed:!0}))}get isHeld(){return this.since>0}begin(){if(this.disabled||this.since)return;if(!this.hold)return this.press();this.since=performance.now();let e=()=>{if(this.since){if(this.held=Math.min(1,(performance.now()-this.since)/Wr),this.held<1)return void requestAnimationFrame(e);this.since=0,this.held=0,this.press()}};requestAnimationFrame(e)}end(){this.since&&(this.since=0,this.held=0,this.dispatchEvent(new Event("toobrief",{bubbles:!0,composed:!0})))}down(e){e.button===0&&(this.hold&&e.target.setPointerCapture?.(e.pointerId),this.begin())}keydown(e){e.key!=="Enter"&&e.key!==" "||(e.preventDefault(),e.stopPropagation(),e.repeat||this.begin())}updated(){this.renderRoot.querySelector("i")?.style.setProperty("transform",`scaleX(${this.held})`)}render(){return a`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle?this.lit?"true":"false":h}
      aria-label=${this.hint||this.label}
      aria-busy=${this.pending?"true":"false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${e=>(e.key==="Enter"||e.key===" ")&&this.end()}
      @blur=${this.end}
      @click=${e=>e.detail===0&&!e.isTrusted&&this.begin()}
    >
      ${this.icon?Jt(this.icon):h}<span>${this.label}</span>${this.held>0?a`<i></i>`:h}
    </button>`}};T.styles=[y,u`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: transparent; border-top-color: var(--lifted); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `],d([f()],T.prototype,"verb",2),d([f()],T.prototype,"label",2),d([f()],T.prototype,"icon",2),d([f()],T.prototype,"hint",2),d([f({type:Boolean,reflect:!0})],T.prototype,"lit",2),d([f({type:Boolean,reflect:!0})],T.prototype,"red",2),d([f({type:Boolean,reflect:!0})],T.prototype,"pending",2),d([f({type:Boolean})],T.prototype,"hold",2),d([f({type:Boolean})],T.prototype,"disabled",2),d([f({type:Boolean})],T.prototype,"toggle",2),d([b()],T.prototype,"held",2),T=d([g("xp-key")],T);function Gr(s){if(!Number.isFinite(s)||s<0)return"-";let t=Math.floor(s),e=Math.floor(t/3600),r=Math.floor(t/60)%60,i=o=>String(o).padStart(2,"0");return e>=1?`${e} h ${i(r)} min`:r>=1?`${r} min ${i(t%60)} s`:`${t} s`}function Q(s,t){let e=Math.max(1,Math.round(t||25)),r=Math.max(0,Math.floor(s)),i=n=>String(n).padStart(2,"0"),o=Math.floor(r/e);return`${i(Math.floor(o/3600))}:${i(Math.floor(o/60)%60)}:${i(o%60)}:${i(r%e)}`}function Ue(s){let t=["B","kB","MB","GB","TB"],e=0;for(;s>=1e3&&e<t.length-1;)s/=1e3,++e;return`${s>=100||e===0?s.toFixed(0):s.toFixed(1)} ${t[e]}`}var Z=s=>s>0?Gr(s):"-",z=s=>s.replaceAll("_"," ");var Jr=120,Yr=700,Qr=6,Zr={index:"as recorded",name:"by name",frames:"by length"},Qt=()=>3.5*parseFloat(getComputedStyle(document.documentElement).fontSize);function Zt(s,t,e){s.style[t]!==e&&(s.style[t]=e)}var R=class extends x{constructor(){super(...arguments);this.clips=[];this.problem="";this.search="";this.order="index";this.falling=!0;this.chosen=new Set;this.top=0;this.tall=400;this.asking="";this.progress="";this.moving=!1;this.rest=0;this.again=0;this.anchor=0;this.at=0;this.known="";this.reading=!1;this.rowHeight=Qt();this.observer=new ResizeObserver(()=>{this.tall=this.rows?.clientHeight??400,this.rowHeight=Qt()});this.kept={of:[],list:[]};this.scrolled=e=>{let{scrollTop:r}=e.target;Math.abs(r-this.top)>this.rowHeight&&(this.moving=!0),this.top=r,clearTimeout(this.rest),this.rest=window.setTimeout(()=>this.moving=!1,Jr)}}connectedCallback(){super.connectedCallback(),this.read()}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}firstUpdated(){this.observer.observe(this.rows)}async read(){if(this.reading)return;this.reading=!0;let e=[];for(;;){let i=await F(`clips?offset=${e.length}&limit=1000`);if(i instanceof _){this.problem=i.sentence;break}if(this.problem="",e.push(...i.clips),i.clips.length===0||e.length>=i.total)break}if(this.reading=!1,this.problem)return;this.clips=e,this.compare();let r=new Set(e.map(i=>i.name));[...this.chosen].some(i=>!r.has(i))&&(this.chosen=new Set([...this.chosen].filter(i=>r.has(i))))}compare(){let{state:e}=this.deck,r=e?.media.find(i=>i.path===e.path)?.clips;r===void 0||r===this.clips.length||this.again>=Qr||(this.again++,setTimeout(()=>this.isConnected&&void this.read(),Yr))}get contents(){let e=this.deck.state;return e?[e.path,e.list_revision,e.status==="recording",e.media.map(r=>r.clips).join()].join():""}willUpdate(){let e=this.contents;e!==this.known&&(this.known=e,this.again=0,this.read())}get sorted(){let e=[this.clips,this.search,this.order,this.falling];return e.every((r,i)=>r===this.kept.of[i])||(this.kept={of:e,list:this.inOrder()}),this.kept.list}inOrder(){let e=this.search.trim().toLowerCase(),r=e?this.clips.filter(o=>o.name.toLowerCase().includes(e)):[...this.clips],i=this.order;return r.sort((o,n)=>i==="name"?o.name<n.name?-1:1:o[i]-n[i]),this.falling?r.reverse():r}choose(e,r,i){let o=r[i].name;if(this.at=i,e.shiftKey){let[n,c]=[Math.min(this.anchor,i),Math.max(this.anchor,i)];this.chosen=new Set(r.slice(n,c+1).map(l=>l.name))}else if(e.ctrlKey||e.metaKey){let n=new Set(this.chosen);n.delete(o)||n.add(o),this.chosen=n,this.anchor=i}else this.chosen=new Set([o]),this.anchor=i}keydown(e,r){let i=r.length,o={ArrowDown:1,ArrowUp:-1,PageDown:10,PageUp:-10,Home:-i,End:i}[e.key];if(e.key==="a"&&(e.ctrlKey||e.metaKey)&&(e.preventDefault(),this.chosen=new Set(r.map(m=>m.name))),e.key==="Enter"&&this.chosen.size&&(e.preventDefault(),e.stopPropagation(),this.open([...this.chosen][0])),o===void 0||!r.length)return;e.preventDefault(),e.stopPropagation();let n=this.chosen.size?this.at:Math.sign(o)<0?i:-1,c=Math.min(i-1,Math.max(0,n+o));(!e.shiftKey||!this.chosen.size)&&(this.anchor=c),this.at=c,this.chosen=new Set(r.slice(Math.min(this.anchor,c),Math.max(this.anchor,c)+1).map(m=>m.name));let l=c*this.rowHeight;l<this.rows.scrollTop&&(this.rows.scrollTop=l),l+this.rowHeight>this.rows.scrollTop+this.tall&&(this.rows.scrollTop=l+this.rowHeight-this.tall)}async each(e,r={}){this.asking="";let i=[...this.chosen];for(let[o,n]of i.entries())if(this.progress=`${M(e)}: ${i.length>1?`${o+1} of ${i.length}`:n}`,!(await this.deck.run(e,{clip:n,...r})).done)break;this.progress="",this.read()}async open(e){await this.deck.run("clip",{name:e})}drag(e,r){this.chosen.has(r)||(this.chosen=new Set([r])),e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([...this.chosen])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}updated(){let e=this.rowHeight,r=this.renderRoot.querySelector(".room");r&&Zt(r,"height",`${this.sorted.length*e}px`);for(let i of this.renderRoot.querySelectorAll(".row"))Zt(i,"top",`${Number(i.dataset.at)*e}px`)}follows(){return[this.contents,this.deck.state?.clip,this.deck.state?.rate,this.deck.verbs]}view(){let e=this.sorted,r=this.rowHeight,i=Math.max(0,Math.floor(this.top/r)-3),o=Math.min(e.length,i+Math.ceil(this.tall/r)+7),n=Math.max(0,o-i),c=this.chosen.size>0;return a`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} ${this.clips.length===1?"clip":"clips"}" .value=${this.search} @input=${l=>this.search=l.target.value} />
        <select aria-label="Sort" @change=${l=>this.order=l.target.value}>
          ${Object.entries(Zr).map(([l,m])=>a`<option value=${l} ?selected=${l===this.order}>${m}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling?"Last first":"First first"} title=${this.falling?"Last first":"First first"} @click=${()=>this.falling=!this.falling}>${this.falling?"↓":"↑"}</button>
      </div>
      <div class="rows" role=${e.length?"listbox":"region"} aria-label="Clips" aria-multiselectable=${e.length?"true":h} aria-activedescendant=${c&&this.at>=i&&this.at<o?`clip-${this.at}`:h} tabindex="0" @scroll=${this.scrolled} @keydown=${l=>this.keydown(l,e)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${e.length===0&&!this.problem?a`<p class="empty">${this.search?"No clip of this name.":"No clips yet. Record one."}</p>`:h}
        ${""}
        <div class="room">${Array.from({length:n},(l,m)=>i+((m-i)%n+n)%n).map(l=>this.row(e[l],l,e))}</div>
      </div>
      <div class="foot">${this.asking&&c?this.ask():h}${this.acts(e)}</div>
    `}acts(e){let r=this.chosen.size>0,i=this.chosen.size===1,o=r&&e.filter(l=>this.chosen.has(l.name)).every(l=>l.protected),n=(l,m,v,p)=>this.deck.verb(l)?a`<button class="small" data-verb=${l} aria-expanded=${m.endsWith("…")?String(this.asking===l):h} title=${this.deck.verb(l)?.help??""} ?disabled=${!v} @click=${p}>${m}</button>`:h,c=l=>()=>this.asking=this.asking===l?"":l;return a`<div class="acts">
      ${n("clip","Open",i,()=>{this.open([...this.chosen][0])})}
      <button class="small" ?disabled=${!r} @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[...this.chosen],bubbles:!0,composed:!0}))}>To list</button>
      ${o?n("unprotect","Unprotect",r,()=>{this.each("unprotect")}):n("protect","Protect",r,()=>{this.each("protect")})}
      ${n("copy","Copy…",r,c("copy"))} ${n("rename","Rename…",i,c("rename"))} ${n("delete","Delete…",r&&!o,c("delete"))}
      <span class="dim" role="status">${this.progress||(this.chosen.size>1?`${this.chosen.size} chosen`:`${e.length} ${e.length===1?"clip":"clips"}`)}</span>
    </div>`}ask(){let[e]=this.chosen,r=this.chosen.size>1?`${this.chosen.size} clips`:e,i=()=>this.renderRoot.querySelector("#asked")?.value??"";switch(this.asking){case"copy":{let o=(this.deck.state?.media??[]).filter(n=>n.path!==this.deck.state?.path);return a`<form class="ask" @submit=${n=>(n.preventDefault(),void this.each("copy",{medium:i()}))}>
          <span class="cut">Copy <bdi>${r}</bdi> to</span>
          <select id="asked" aria-label="Medium">${o.map(n=>a`<option value=${n.path}>${n.label||n.path}</option>`)}</select>
          <button class="small" ?disabled=${!o.length}>Copy</button></form>`}case"rename":return a`<form class="ask" @submit=${o=>(o.preventDefault(),void this.each("rename",{name:i()}))}>
          <input id="asked" aria-label="New name of ${e}" .value=${e.replace(/[.]mov$/,"")} autocomplete="off" spellcheck="false" required />
          <button class="small">Rename</button></form>`;default:return a`<div class="ask"><span class="cut">Delete <bdi>${r}</bdi> for good?</span>
          <xp-key verb="delete" label="Hold to delete" hint="Hold to delete" hold @press=${()=>{this.each("delete")}} @toobrief=${()=>this.progress="Hold it for a second"}></xp-key></div>`}}row(e,r,i){let o=e.name===this.deck.state?.clip;return a`<div class="row ${o?"current":""}" id="clip-${r}" role="option" aria-selected=${this.chosen.has(e.name)?"true":"false"} aria-setsize=${i.length} aria-posinset=${r+1}
      data-at=${r} draggable="true" title=${e.name} @click=${n=>this.choose(n,i,r)} @dblclick=${()=>{this.open(e.name)}}
      @dragstart=${n=>this.drag(n,e.name)}>
      <img alt="" loading="lazy" draggable="false" src=${this.moving?h:Ke(`clips/${encodeURIComponent(e.name)}/thumbnail`)} @error=${n=>n.target.removeAttribute("src")} />
      <div class="cut">
        <div class="name cut"><bdi>${e.name}</bdi></div>
        <div class="sub">${e.timecode?a`<span>${e.timecode}</span>`:h}<span class="narrow">${Q(e.frames,this.deck.state?.rate??25)}</span><span class="wide">${e.bytes?Ue(e.bytes):""}</span>${e.protected?a`<span>protected</span>`:h}${o?a`<span>on the deck</span>`:h}</div>
      </div>
      <div class="frames figure">${Q(e.frames,this.deck.state?.rate??25)}</div>
    </div>`}};R.styles=[y,u`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      img, .none { width: 5rem; height: 2.8125rem; object-fit: contain; background: #000; display: block; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .narrow { display: none; }
      @media (max-width: 759px) { .narrow { display: inline; } .frames { display: none; } .sub .wide { display: none; } .row { grid-template-columns: 5rem minmax(0, 1fr); } }
      .acts, .ask { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts .dim { margin-left: auto; font-size: 0.8125rem; }
      .foot { display: grid; gap: 0.25rem; }
      @media (max-width: 759px) { .acts { display: grid; grid-template-columns: repeat(3, 1fr); } .acts .dim { grid-column: 1 / -1; } }
      .ask { background: var(--raised); border-radius: var(--round); padding: 0.35rem 0.5rem; gap: 0.5rem; font-size: 0.875rem; }
      .ask > :first-child { flex: 1 1 8rem; min-width: 0; }
      .ask xp-key { width: 7.5rem; min-height: 2.25rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],d([b()],R.prototype,"clips",2),d([b()],R.prototype,"problem",2),d([b()],R.prototype,"search",2),d([b()],R.prototype,"order",2),d([b()],R.prototype,"falling",2),d([b()],R.prototype,"chosen",2),d([b()],R.prototype,"top",2),d([b()],R.prototype,"tall",2),d([b()],R.prototype,"asking",2),d([b()],R.prototype,"progress",2),d([b()],R.prototype,"moving",2),d([A(".rows")],R.prototype,"rows",2),R=d([g("xp-clips")],R);var be=class extends x{constructor(){super(...arguments);this.problem=""}follows(){return[this.deck.me]}view(){let{me:e}=this.deck,r=a`
      <form @submit=${this.logIn}><input name="name" aria-label="Account" placeholder="Account" autocomplete="username" /><input name="password" type="password" aria-label="Password" placeholder="Password" autocomplete="current-password" /><button>Log in</button></form>
      <form class="one" @submit=${this.use}><input name="token" type="password" aria-label="Token" placeholder="Token, from /run/xp/panel.token" autocomplete="off" /><button>Use</button></form>`;return a`
      <p>${this.told(e.name,e.role)}</p>
      ${["nobody","view"].includes(e.role)?r:a`<details><summary>Be somebody else</summary>${r}</details>`}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    `}told(e,r){return r==="nobody"?"This panel shows nothing to strangers. Log in:":r==="view"?e?a`<b><bdi>${e}</bdi></b> may look. Another account, or the machine's token, lets you operate:`:"You may look. An account, or the machine's token, lets you operate:":a`<b><bdi>${e}</bdi></b> may ${r==="engineer"?"operate and change settings":"operate"}.`}field(e){return this.renderRoot.querySelector(`[name="${e}"]`)?.value??""}async logIn(e){e.preventDefault(),Ae("");let r=await q("POST","login",{name:this.field("name"),password:this.field("password")});r instanceof _?this.problem=`${r.sentence} ${r.hint}`:this.become((await r.json()).token)}use(e){e.preventDefault(),this.field("token")&&this.become(this.field("token").trim())}become(e){this.problem="",Ae(e),this.deck.reconnect()}};be.styles=[y,u`
      :host { display: grid; gap: 0.5rem; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem; }
      form.one { grid-template-columns: minmax(0, 1fr) auto; }
      form + form { margin-top: 0.25rem; }
      summary { min-height: 2.75rem; line-height: 2.75rem; cursor: pointer; color: var(--dim); }
      p { margin: 0; font-size: 0.9375rem; }
      [role="alert"] { padding: 0; }
    `],d([b()],be.prototype,"problem",2),be=d([g("xp-login")],be);var De=class extends x{theme(t){document.documentElement.dataset.theme=t,localStorage.setItem("xp-theme",t),this.requestUpdate()}follows(){let{state:t}=this.deck;return[t?.owner,t?.lock,t?.mode,t?.running,this.deck.verbs,this.deck.stale,this.deck.me]}view(){let{state:t}=this.deck,e=document.documentElement.dataset.theme??"dark";return a`
      <section>
        <h2>Who is in control</h2>
        <p>${this.owner()}${t?.lock?.name?a` Locked by <bdi>${t.lock.name}</bdi>: only that session moves the transport.`:h}</p>
        <div class="acts">${this.act("take_control",!!t?.owner?.name)}${this.act("release_control")}</div>
        <div class="acts">${this.act("lock",!!t?.lock?.name)}${this.act("unlock")}${this.act("remote",t?.mode!=="local")}${this.act("local",t?.mode==="local")}</div>
        ${t?.mode==="local"?a`<p class="dim">Only who sits at the machine moves the transport.</p>`:h}
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark","contrast"].map(r=>a`<button aria-pressed=${e===r?"true":"false"} @click=${()=>this.theme(r)}>${r==="dark"?"Dark":"High contrast"}</button>`)}
          <button @click=${()=>location.hash="#/kiosk"}>Wall view</button>
        </div>
      </section>
      <section>
        <h2>Keys and programs</h2>
        <div class="acts"><button @click=${()=>this.dispatchEvent(new ot(""))}>Keys and verbs</button></div>
        <p class="dim">What each verb is called over HTTP, in lines, OSC and the shell. The second button of the mouse shows it for the control under it.</p>
      </section>
      ${this.deck.verb("shut_down")?a`<section>
            <h2>The recorder</h2>
            <xp-key verb="shut_down" label="Hold to shut down" hint=${`Hold to shut down: ${this.deck.verb("shut_down")?.help??""}`} hold ?disabled=${this.deck.stale||!t?.running}
              @press=${()=>{this.deck.run("shut_down")}} @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still running",text:"To shut the recorder down, hold the key for a second."})}></xp-key>
          </section>`:h}
    `}owner(){let t=this.deck.state?.owner;if(!t?.name)return"Nobody has taken control: everybody may operate.";let e=[t.front,t.address].filter(Boolean).join(", ");return a`<b><bdi>${t.name}</bdi></b>${e?` (${e})`:""} is in control.`}act(t,e){let r=this.deck.verb(t);return r?a`<button data-verb=${t} title=${r.help} aria-pressed=${e===void 0?h:String(e)} ?disabled=${this.deck.stale} @click=${()=>{this.deck.run(t)}}>${M(t)}</button>`:h}};De.styles=[y,u`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 1.25rem; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .acts + .acts { margin-top: -0.25rem; }
      .acts > * { flex: 1 1 0; white-space: nowrap; }
      p { margin: 0; font-size: 0.9375rem; }
      xp-key { min-height: 2.75rem; }
    `],De=d([g("xp-control")],De);var X=class extends x{constructor(){super(...arguments);this.entries=[];this.problem="";this.chosen=-1;this.over=-1;this.revision="";this.known=null}willUpdate(){let e=this.deck.state?.list_revision??"";e!==this.known&&(this.known=e,this.read())}async read(){let e=await q("GET","list");if(e instanceof _){this.problem=e.sentence;return}this.revision=e.headers.get("ETag")??"",this.entries=(await e.json()).list,this.problem=""}async add(e,r=this.entries.length){let i=this.entries.map(o=>o.name);i.splice(r,0,...e),await this.write(i)}async write(e){let r=await q("PUT","list",{list:e},this.revision?{"If-Match":this.revision}:{});if(r instanceof _){let i=r.status===412;this.deck.tell({kind:"refused",title:"Play list",text:i?"Somebody else has changed the list meanwhile; here it is as it is now.":`${r.sentence} ${r.hint}`})}await this.read()}async move(e,r){if(e<0||r<0||r>this.entries.length-1||e===r)return;let i=this.entries.map(o=>o.name);i.splice(r,0,...i.splice(e,1)),this.chosen=r,await this.write(i)}drop(e,r){e.preventDefault(),e.stopPropagation(),this.over=-1;let i=e.dataTransfer?.getData("application/x-xp-clips"),o=e.dataTransfer?.getData("application/x-xp-place");i?this.add(JSON.parse(i),r):o&&this.move(Number(o),Number(o)<r?r-1:r)}hover(e,r){e.preventDefault(),e.stopPropagation(),this.over=r}keydown(e){let r={ArrowDown:1,ArrowUp:-1}[e.key];r!==void 0?(e.preventDefault(),e.stopPropagation(),e.altKey?this.move(this.chosen,this.chosen+r):this.chosen=Math.min(this.entries.length-1,Math.max(0,this.chosen+r))):e.key==="Delete"&&this.takeOut()}async takeOut(){this.chosen<0||(await this.write(this.entries.filter((e,r)=>r!==this.chosen).map(e=>e.name)),this.chosen=Math.min(this.chosen,this.entries.length-1))}follows(){return[this.deck.state?.list_revision,this.deck.state?.playback_source,this.deck.parameters]}view(){let e=this.deck.parameters.get("playback_source"),r=this.deck.state?.playback_source??e?.value;return a`
      <div class="acts" role="group" aria-label="What is played">
        ${(e?.choices??[]).map(i=>a`<button class="small" aria-pressed=${i===r?"true":"false"} @click=${()=>{this.deck.set("playback_source",i)}}>${i===r?"● ":""}${i.replaceAll("_"," ")}</button>`)}
      </div>
      <div class="rows ${this.over===this.entries.length?"over":""}" role=${this.entries.length?"listbox":"region"} aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${i=>this.hover(i,this.entries.length)} @dragleave=${()=>this.over=-1} @drop=${i=>this.drop(i,this.entries.length)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${this.entries.length===0?a`<p class="empty">The list is empty. Drag clips here, or use “Add to list”.</p>`:h}
        ${this.entries.map((i,o)=>a`<div role="option" class=${this.over===o?"over":""} aria-selected=${o===this.chosen?"true":"false"} draggable="true" title=${i.name}
            @click=${()=>this.chosen=o} @dragstart=${n=>n.dataTransfer?.setData("application/x-xp-place",String(o))}
            @dragover=${n=>this.hover(n,o)} @drop=${n=>this.drop(n,o)}>
            <span class="place figure">${o+1}</span><span class="name cut"><bdi>${i.name}</bdi></span>${i.present?h:a`<span class="missing">! not here</span>`}
          </div>`)}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen<1} @click=${()=>{this.move(this.chosen,this.chosen-1)}}>Up</button>
        <button class="small" ?disabled=${this.chosen<0||this.chosen>=this.entries.length-1} @click=${()=>{this.move(this.chosen,this.chosen+1)}}>Down</button>
        <button class="small" ?disabled=${this.chosen<0} @click=${()=>{this.takeOut()}}>Take out</button>
      </div>
    `}};X.styles=[y,u`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 8rem; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2.5rem minmax(0, 1fr) auto; align-items: center; min-height: 2.75rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; padding-right: 0.75rem; font-size: 0.8125rem; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],d([b()],X.prototype,"entries",2),d([b()],X.prototype,"problem",2),d([b()],X.prototype,"chosen",2),d([b()],X.prototype,"over",2),X=d([g("xp-list")],X);var Xt="xp-marks",Xr=500,we=class extends x{constructor(){super(...arguments);this.marks=ei()}add(e){let r=this.deck.state;if(!r?.clip)return;let i=P(r)?r.take_frames:r.frame;this.keep([{clip:r.clip,frame:Math.max(0,i),timecode:e,note:""},...this.marks].slice(0,Xr))}keep(e){this.marks=e,localStorage.setItem(Xt,JSON.stringify(e))}async go(e){this.deck.state?.clip!==e.clip&&!(await this.deck.run("clip",{name:e.clip})).done||await this.deck.run("cue",{where:String(e.frame)})}follows(){return[]}view(){return a`
      <div class="head"><button @click=${()=>this.dispatchEvent(new CustomEvent("xp-mark",{bubbles:!0,composed:!0}))}>Mark this frame</button><span class="dim">Kept in this browser</span></div>
      <div class="rows" tabindex="0" role="region" aria-label="Marks">
        ${this.marks.length===0?a`<p class="empty">No marks. Key M sets one at the frame that is shown.</p>`:""}
        ${this.marks.map((e,r)=>a`<div class="row">
            <button class="figure" title="Go there" @click=${()=>{this.go(e)}}>${e.timecode}</button>
            <input aria-label="Note at ${e.timecode}" placeholder="Note" .value=${e.note} @change=${i=>this.keep(this.marks.map((o,n)=>n===r?{...o,note:i.target.value}:o))} />
            <button class="small" aria-label="Take mark ${e.timecode} away" @click=${()=>this.keep(this.marks.filter((i,o)=>o!==r))}>✕</button>
            <span class="clip cut"><bdi>${e.clip}</bdi>, frame ${e.frame}</span>
          </div>`)}
      </div>
    `}};we.styles=[y,u`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr); gap: var(--gap); height: 100%; min-height: 0; }
      .head { display: flex; gap: 0.5rem; align-items: center; }
      .rows { overflow-y: auto; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.25rem 0; border-bottom: 1px solid var(--line); }
      .row input { width: 100%; }
      .clip { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],d([b()],we.prototype,"marks",2),we=d([g("xp-marks")],we);function ei(){try{let s=JSON.parse(localStorage.getItem(Xt)??"[]");return Array.isArray(s)?s:[]}catch{return[]}}var er=600,Ne=class extends x{updated(){let t=this.deck.state?.media??[];this.renderRoot.querySelectorAll(".bar i").forEach((e,r)=>e.style.setProperty("transform",`scaleX(${1-(t[r]?.percent_free??0)/100})`))}follows(){return[this.deck.state?.media,this.deck.state?.seconds_left,this.deck.parameters]}view(){let t=this.deck.state,e=t?.media??[],r=t?.seconds_left??0,i=e.find(n=>n.state==="next"),o=this.deck.parameters.get("rollover_enabled")?.value!=="off";return a`
      <div class="sum"><span>A take that begins now can last</span><span class="figure ${r>0&&r<er?"warn":""}">${Z(r)}</span></div>
      ${e.map(n=>this.medium(n))}
      ${e.length===0?a`<p role="alert">No medium: nothing can be recorded.</p>`:h}
      <p class="dim">${i&&o?a`When the active medium is full, a take goes on on <b>${i.label||i.path}</b>.`:i?a`Rollover is off: a take ends when the active medium is full. <a href="#/settings/rollover_enabled">Change it</a>`:"No medium comes next: a take ends when the active one is full."}</p>
    `}medium(t){let e=t.seconds_left>0&&t.seconds_left<er&&t.state!=="read_only";return a`<article class=${t.state}>
      <header><b><bdi>${t.label||t.path}</bdi></b><span>${z(t.state)}</span><span class="figure ${e?"warn":""}">${Z(t.seconds_left)}</span></header>
      <div class="bar ${e?"warn":""}" role="img" aria-label="${(100-t.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${Ue(t.bytes_free)} free of ${Ue(t.bytes_total)}</span><span>${t.clips} clips</span><span><bdi>${t.path}</bdi></span></div>
    </article>`}};Ne.styles=[y,u`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0.25rem 0 0.5rem; }
      .sum .figure { font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.75rem; display: grid; gap: 0.5rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `],Ne=d([g("xp-media")],Ne);var nt={waveform:"Waveform, per cent",parade:"Parade: red, green, blue",vectorscope:"Vectorscope, 75 %"},ti=1,tr=64,ri=940,ir=1024;function sr(s){let t=new DataView(s);if(s.byteLength<16||t.getUint16(0,!0)!==ti)return null;let[e,r,i]=[2,4,6].map(c=>t.getUint16(c,!0));if(s.byteLength!==16+i*(e+3*r+i))return null;let o=16,n=c=>{let l=new Uint8Array(s,o,c*i);return o+=c*i,{columns:c,rows:i,values:l}};return{waveform:n(e),parade:n(3*r),vectorscope:n(i)}}var ii=[.8,.9,.85],si=[[1,.32,.28],[.3,.95,.4],[.38,.55,1]];function oi(s,t){let e=(s-.5)*1.8556,r=(.5-t)*1.5748;return[.75+r*.9,.75-.1873*e-.4681*r,.75+e*.9].map(o=>Math.min(1,Math.max(.3,o)))}var rr=new Map;function or(s,t){let e=rr.get(s);(e?.width!==t.columns||e.height!==t.rows)&&rr.set(s,e=new OffscreenCanvas(t.columns,t.rows));let r=e.getContext("2d"),i=new ImageData(t.columns,t.rows);for(let o=0;o<t.values.length;++o){let n=t.values[o];if(!n)continue;let c=o%t.columns,l=s==="parade"?si[Math.floor(c*3/t.columns)]:s==="vectorscope"?oi(c/t.columns,o/t.columns/t.rows):ii,m=70+n*.72;i.data.set([l[0]*m,l[1]*m,l[2]*m,255],4*o)}return r?.putImageData(i,0,0),e}var ni=[["R",1,0,0],["Yl",1,1,0],["G",0,1,0],["Cy",0,1,1],["B",0,0,1],["Mg",1,0,1]].map(([s,t,e,r])=>{let i=.2126*t+.7152*e+.0722*r,o=(n,c)=>(512+.75*896*(n-i)/c)/ir;return{name:s,x:o(r,1.8556),y:1-o(t,1.5748)}});function nr(s,t){let e=devicePixelRatio,r=s.clientWidth,i=s.clientHeight;if(!r||!i)return;(s.width!==Math.round(r*e)||s.height!==Math.round(i*e))&&([s.width,s.height]=[Math.round(r*e),Math.round(i*e)]);let o=s.getContext("2d");if(!o)return;let n=getComputedStyle(s),c=.6875*parseFloat(getComputedStyle(document.documentElement).fontSize);o.setTransform(e,0,0,e,0,0),o.clearRect(0,0,r,i),o.font=`${c}px ${n.fontFamily}`,o.fillStyle=o.strokeStyle="#a5adb5",o.textBaseline="middle",t==="vectorscope"?li(o,r,i,c):ai(o,r,i,c,t==="parade")}function ai(s,t,e,r,i){for(let o of[0,25,50,75,100]){let n=(1-(tr+(ri-tr)*o/100)/ir)*e;s.globalAlpha=o%100===0?.6:.28,s.fillRect(0,n,t,1),s.globalAlpha=1;let c=String(o),l=o===100?n-.65*r:n+.75*r;(!i||o%100===0)&&s.fillText(c,4,o===0?Math.min(l,e-.6*r):l)}if(i){s.globalAlpha=.4;for(let o of[1,2])s.fillRect(t*o/3,0,1,e);s.globalAlpha=1}}function li(s,t,e,r){let i=Math.min(t,e),[o,n]=[(t-i)/2,(e-i)/2],[c,l]=[o+i/2,n+i/2];s.lineWidth=1,s.globalAlpha=.4,s.beginPath(),s.arc(c,l,i*.4375,0,2*Math.PI),s.moveTo(c,n+i*.04),s.lineTo(c,n+i*.96),s.moveTo(o+i*.04,l),s.lineTo(o+i*.96,l),s.stroke();let m=Math.max(5,i*.028);s.textAlign="center";for(let v of ni){let[p,$]=[o+v.x*i,n+v.y*i];s.globalAlpha=.8,s.strokeRect(p-m,$-m,2*m,2*m),s.globalAlpha=1;let k=(m+.9*r)/Math.hypot(v.x-.5,v.y-.5);s.fillText(v.name,p+(.5-v.x)*k,$+(.5-v.y)*k)}}var di=160,se=class extends x{constructor(){super(...arguments);this.only="";this.problem="";this.live=!1;this.timer=0;this.observer=new ResizeObserver(()=>this.grids());this.looking=!1}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>{this.look()},di)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer),this.observer.disconnect()}async look(){if(this.looking||document.hidden)return;this.looking=!0;let e=await q("GET","scopes");if(e instanceof _)this.problem=e.sentence;else if(e.status===200){let r=sr(await e.arrayBuffer());if(this.problem=r?"":"The scopes cannot be read.",r)for(let i of this.kinds)this.paint(i,r[i])}this.live=!this.problem,this.looking=!1}get kinds(){let e=Object.keys(nt);return e.includes(this.only)?[this.only]:e}paint(e,r){let i=this.renderRoot.querySelector(`#${e}`),o=i?.getContext("2d",{alpha:!1});if(!i||!o)return;let n=[i.clientWidth,i.clientHeight].map(v=>Math.max(1,Math.round(v*devicePixelRatio)));(i.width!==n[0]||i.height!==n[1])&&([i.width,i.height]=n),o.globalCompositeOperation="source-over",o.fillStyle="#000",o.fillRect(0,0,n[0],n[1]),o.globalCompositeOperation="lighter";let c=or(e,r),l=.6*devicePixelRatio,m=e==="vectorscope"?[[-l,-l],[l,-l],[-l,l],[l,l],[0,0]]:[[0,-l],[0,0],[0,l]];for(let[v,p]of m)o.drawImage(c,v,p,n[0],n[1])}grids(){for(let e of this.renderRoot.querySelectorAll("canvas.grid"))nr(e,e.dataset.kind)}updated(){for(let e of this.renderRoot.querySelectorAll(".tile"))this.observer.observe(e);this.grids()}follows(){return[this.deck.frozen>0]}view(){let e=!this.live||this.deck.frozen>0;return a`<div class="all ${this.kinds.length===1?"one":""} ${e?"idle":""}">
      ${this.kinds.map(r=>a`<figure>
          <figcaption><a href=${this.only===r?"#/scopes":`#/scopes/${r}`}>${nt[r]} <span aria-hidden="true">${this.only===r?"−":"+"}</span><span class="hidden">${this.only===r?", show all scopes":", larger"}</span></a></figcaption>
          <div class="tile ${r==="vectorscope"?"square":""}"><canvas id=${r} role="img" aria-label=${nt[r]}></canvas><canvas class="grid" data-kind=${r} aria-hidden="true"></canvas></div>
        </figure>`)}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    </div>`}};se.styles=[y,u`
      :host { height: 100%; }
      .all { height: 100%; display: grid; grid-template: minmax(0, 1.05fr) minmax(0, 1fr) / minmax(0, 1fr) auto; gap: 0.5rem; }
      .all.one { grid-template: minmax(0, 1fr) / minmax(0, 1fr); }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; min-width: 0; }
      .all:not(.one) figure:first-of-type { grid-column: 1 / -1; }
      figcaption a { font-size: 0.75rem; color: var(--dim); text-decoration: none; display: block; min-height: 1.5rem; line-height: 1.5rem; }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; border-radius: 2px; }
      .square { height: 100%; aspect-ratio: 1; max-width: 100%; justify-self: center; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .idle canvas:not(.grid) { opacity: 0.25; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) {
        .all, .all.one { grid-template: repeat(3, auto) / minmax(0, 1fr); height: auto; max-height: 100%; overflow-y: auto; }
        .tile { height: 12rem; }
        .square { height: auto; width: 100%; }
      }
    `],d([f()],se.prototype,"only",2),d([b()],se.prototype,"problem",2),d([b()],se.prototype,"live",2),se=d([g("xp-scopes")],se);var ar=s=>s.keep==="always"&&s.value!==s.default,ee=class extends x{constructor(){super(...arguments);this.target="";this.search="";this.changedOnly=!1;this.text=null;this.arrived=!1}connectedCallback(){super.connectedCallback(),this.deck.readParameters()}get rows(){let e=this.search.trim().toLowerCase();return[...this.deck.parameters.values()].filter(r=>!r.told&&r.keep!=="command"&&(!this.changedOnly||ar(r))&&(!e||`${r.name} ${z(r.name)} ${r.help}`.toLowerCase().includes(e)))}updated(e){e.has("target")&&(this.arrived=!1);let r=this.arrived?null:this.renderRoot.querySelector(".target");r&&(r.scrollIntoView({block:"center"}),this.arrived=!0)}async write(e,r){await this.deck.set(e.name,r),await this.deck.readParameters()}async apply(){for(let e of(this.text??"").split(`
`)){let r=/^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(e);if(!(!r||this.deck.parameters.get(r[1])?.value===r[2])&&!(await this.deck.set(r[1],r[2])).done)return}this.text=null,await this.deck.readParameters()}follows(){return[this.deck.parameters]}view(){let e=this.rows;return a`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${r=>this.search=r.target.value} />
        <label><input type="checkbox" .checked=${this.changedOnly} @change=${r=>this.changedOnly=r.target.checked} />Changed</label>
      </div>
      ${this.text===null?a`<div class="rows" role="region" tabindex="0" aria-label="Settings">${e.map(r=>this.row(r))}${e.length?h:a`<p class="dim">No setting of this kind.</p>`}</div>`:a`<textarea aria-label="Settings as text" spellcheck="false" .value=${this.text} @input=${r=>this.text=r.target.value}></textarea>`}
      <div class="acts">
        ${this.text===null?a`<button class="small" @click=${()=>this.text=e.map(r=>`${r.name} = ${r.value}`).join(`
`)}>As text</button>`:a`<button class="small" @click=${()=>{this.apply()}}>Set all of these</button><button class="small" @click=${()=>this.text=null}>Leave</button>`}
      </div>
    `}row(e){let r=ar(e);return a`<div class="row ${e.name===this.target?"target":""}" id=${e.name}>
      <div class="name" title=${e.name}>${M(e.name)}${e.unit?a` <span class="dim">(${e.unit})</span>`:h}</div>
      ${this.field(e)}
      <div class="help">${e.help}
        ${r?a`<span class="differs">Default: ${z(e.default)||"empty"}.<button @click=${()=>{this.write(e,e.default)}}>Set to default</button></span>`:h}
      </div>
    </div>`}field(e){let r=i=>{this.write(e,i.target.value)};return e.choices?.length?a`<select aria-label=${z(e.name)} .value=${e.value} @change=${r}>${e.choices.map(i=>a`<option value=${i} ?selected=${i===e.value}>${z(i)}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" aria-label=${z(e.name)} min=${e.minimum} max=${e.maximum??h} .value=${e.value} @change=${r} />`:a`<input type="text" aria-label=${z(e.name)} spellcheck="false" .value=${e.value} @change=${r} />`}};ee.styles=[y,u`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; }
      label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.1rem 0.75rem; padding: 0.5rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); }
      .row .help { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .row select, .row input { width: 100%; }
      .differs { font-size: 0.75rem; color: var(--text); }
      .differs button { min-height: 1.5rem; padding: 0 0.4rem; font-size: 0.75rem; margin-left: 0.4rem; }
      textarea { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
    `],d([f()],ee.prototype,"target",2),d([b()],ee.prototype,"search",2),d([b()],ee.prototype,"changedOnly",2),d([b()],ee.prototype,"text",2),ee=d([g("xp-settings")],ee);var ye=["clips","list","marks","media","scopes","settings","alarms","control"],te=class extends x{constructor(){super(...arguments);this.chosen="clips";this.detail="";this.moved=()=>{let[e,...r]=location.hash.replace(/^#\//,"").split("/");ye.includes(e)&&(this.chosen=e,this.detail=decodeURIComponent(r.join("/")))}}connectedCallback(){super.connectedCallback(),addEventListener("hashchange",this.moved),this.addEventListener("xp-add",e=>{this.add(e.detail)}),this.addEventListener("xp-dragclips",()=>this.dragged()),this.moved()}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved)}go(e){location.hash=`#/${e}`}turn(e){this.go(ye[(ye.indexOf(this.chosen)+e+ye.length)%ye.length])}mark(e){this.go("marks"),this.chosen="marks",this.updateComplete.then(()=>this.marks?.add(e))}async add(e){this.go("list"),this.chosen="list",await this.updateComplete,await this.list?.read(),await this.list?.add(e)}dragged(){this.renderRoot.querySelector("#tab-list")?.addEventListener("dragenter",()=>this.go("list"),{once:!0})}keydown(e){let r={ArrowRight:1,ArrowLeft:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(r),this.updateComplete.then(()=>this.renderRoot.querySelector('[aria-selected="true"]')?.focus()))}follows(){return[this.deck.state?.alarms]}view(){let e=this.deck.state?.alarms??0;return a`<div class="whole">
      <button class="close" @click=${()=>this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${ye.map(r=>a`<button role="tab" id="tab-${r}" aria-controls="body" aria-selected=${r===this.chosen?"true":"false"} tabindex=${r===this.chosen?0:-1} class=${r==="alarms"&&e?"up":""} @click=${()=>this.go(r)}>
            ${r.charAt(0).toUpperCase()+r.slice(1)}${r==="alarms"&&e?a` <b>! ${e}</b>`:h}
          </button>`)}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`}body(){let{deck:e}=this;switch(this.chosen){case"clips":return a`<xp-clips .deck=${e}></xp-clips>`;case"list":return a`<xp-list .deck=${e}></xp-list>`;case"marks":return a`<xp-marks .deck=${e}></xp-marks>`;case"media":return a`<xp-media .deck=${e}></xp-media>`;case"scopes":return a`<xp-scopes .deck=${e} only=${this.detail}></xp-scopes>`;case"settings":return a`<xp-settings .deck=${e} target=${this.detail}></xp-settings>`;case"alarms":return a`<xp-alarms .deck=${e}></xp-alarms>`;case"control":return a`<xp-control .deck=${e}></xp-control>`}}};te.styles=[y,u`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden; }
      .close { display: none; }
      @media (max-width: 759px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `],d([b()],te.prototype,"chosen",2),d([b()],te.prototype,"detail",2),d([A("xp-list")],te.prototype,"list",2),d([A("xp-marks")],te.prototype,"marks",2),te=d([g("xp-column")],te);var $t=60,at=4,B=class extends S{constructor(){super(...arguments);this.label="";this.unit="";this.value=null;this.warnAbove=1/0;this.past=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>this.sample(),1e3/at)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}sample(){this.past.push(this.deck.stale?null:this.value),this.past.length>$t*at&&this.past.shift(),this.draw()}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let r=window.devicePixelRatio,i=Math.round(this.clientWidth*r),o=Math.round(this.clientHeight*r);(this.canvas.width!==i||this.canvas.height!==o)&&([this.canvas.width,this.canvas.height]=[i,o]);let n=getComputedStyle(this);e.clearRect(0,0,i,o);let c=Number.isFinite(this.warnAbove)?this.warnAbove*1.25:1,l=Math.max(c,...this.past.map(p=>p??0)),m=i/($t*at),v=$t*at-this.past.length;this.past.forEach((p,$)=>{if(p===null)return;let k=Math.max(r,p/l*(o-2*r));e.fillStyle=n.getPropertyValue(p>this.warnAbove?"--amber":"--edge"),e.globalAlpha=p>this.warnAbove?.45:.35,e.fillRect((v+$)*m,o-k,Math.ceil(m),k)}),e.globalAlpha=1}render(){let e=(this.value??0)>this.warnAbove,r=this.value===null?"-":this.value>=100||Number.isInteger(this.value)?this.value.toFixed(0):this.value.toFixed(1);return a`<canvas aria-hidden="true"></canvas>
      <div class="over ${e?"warn":""}"><div class="label">${this.label}</div><div class="figure">${e?"! ":""}${r} <small>${this.unit}</small></div></div>`}};B.styles=[y,u`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: 0.6875rem; color: var(--dim); }
    `],d([f()],B.prototype,"label",2),d([f()],B.prototype,"unit",2),d([f({attribute:!1})],B.prototype,"value",2),d([f({attribute:!1})],B.prototype,"warnAbove",2),d([f({attribute:!1})],B.prototype,"deck",2),d([A("canvas")],B.prototype,"canvas",2),B=d([g("xp-chart")],B);var $e=class extends x{constructor(){super(...arguments);this.delay=null}cell(e,r,i=!1,o=""){return a`<div class="cell ${i?"warn":""} ${o}"><div class="label">${e}</div><div class="figure">${i?"! ":h}${r}</div></div>`}view(){let{state:e,counters:r,frozen:i}=this.deck,o=!!e&&e.seconds_left>0&&e.seconds_left<600,n=(e?.dropped_capture??0)+(e?.dropped_playback??0),c=e?.owner?.name;return a`<div class="strip" role="group" aria-label="Health">
      ${i?this.cell("Lens to screen",`${(i/1e3).toFixed(1)} s ago`,!0):this.cell("Lens to screen",this.delay===null?"-":`${Math.round(this.delay)} ms`,(this.delay??0)>250)}
      ${this.cell("Room",e?Z(e.seconds_left):"-",o)}
      ${this.cell("Lost frames",n,n>0)}
      <xp-chart label="Writer queue" unit="frames" .value=${r.writer_queue??null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${r.write_latency_p99===void 0?null:r.write_latency_p99/1e3} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${e?n:null} .warnAbove=${.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control",c?a`<bdi>${c}</bdi>`:"everybody")}
    </div>`}};$e.styles=[y,u`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 759px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `],d([f({attribute:!1})],$e.prototype,"delay",2),$e=d([g("xp-health")],$e);var lr=[{keys:"R",verb:"record",text:""},{keys:"S",verb:"stop",text:"; in a take hold it for a second"},{keys:"L",verb:"play",text:"; again: twice as fast"},{keys:"J",verb:"play",text:", backwards; again: twice as fast"},{keys:"K",verb:"still",text:""},{keys:"K + L, K + J",verb:"play",text:", at a quarter of the speed"},{keys:"Space",verb:"still",text:", or play on"},{keys:"← →",verb:"step",text:": one"},{keys:"Shift ← →",verb:"step",text:": ten"},{keys:"Home, End",verb:"cue",text:": the first, the last"},{keys:"C",verb:"cue",text:": type where"},{keys:"[ ]",verb:"prev",text:", or to the next"},{keys:"M",verb:"",text:"mark the frame that is shown"},{keys:"F",verb:"",text:"picture and timecode alone, and back"},{keys:"?",verb:"",text:"all keys and verbs; on a control: its verb"}],ci=.25;function dr(s,t){let e=new Set,r=()=>s.state&&s.state.status!=="stopped"?s.state.speed:0,i=0,o=w=>{if(e.has("k"))return s.speed(w*ci);let E=Math.sign(i)===w?i:r(),L=Math.sign(E)===w&&Math.abs(E)>=1?Math.min(64,Math.abs(E)*2):1;i=w*L,s.speed(i)},n=()=>{i=0,s.speed(0)},c=w=>{s.run("cue",{where:String(Math.max(0,w))})},l={r:()=>{s.run("record")},s:()=>t.holdStop(),l:()=>o(1),j:()=>o(-1),k:n," ":()=>P(s.state)?t.holdStop():r()!==0?n():o(1),arrowleft:w=>s.steps(w.shiftKey?-10:-1),arrowright:w=>s.steps(w.shiftKey?10:1),home:()=>c(0),end:()=>c((s.state?.length??1)-1),"[":()=>{s.run("prev")},"]":()=>{s.run("next")},c:()=>t.focusTimecode(),m:()=>t.mark(),f:()=>t.kiosk(),"?":w=>t.help(w)},m=new Set(["arrowleft","arrowright"]),v=w=>{let E=w.composedPath()[0];return E instanceof HTMLInputElement||E instanceof HTMLTextAreaElement||E instanceof HTMLSelectElement},p=w=>{if(w.ctrlKey||w.metaKey||w.altKey||v(w))return;let E=w.key.toLowerCase(),L=l[E];L&&(w.preventDefault(),!(w.repeat&&!m.has(E))&&(e.add(E),L(w)))},$=w=>{let E=w.key.toLowerCase();e.delete(E),(E==="s"||E===" ")&&t.releaseStop(),(E==="j"||E==="l")&&e.has("k")&&n()},k=()=>{e.clear(),t.releaseStop()};return window.addEventListener("keydown",p),window.addEventListener("keyup",$),window.addEventListener("blur",k),()=>{window.removeEventListener("keydown",p),window.removeEventListener("keyup",$),window.removeEventListener("blur",k)}}var cr={http:"HTTP",line:"Line",osc:"OSC",shell:"Shell"},re=class extends x{constructor(){super(...arguments);this.values={};this.told="";this.copied=""}willUpdate(e){e.has("verb")&&(this.values={},this.told=this.copied="")}follows(){return[this.deck.stale,this.deck.state?.media,this.deck.state?.alarm_list,this.deck.pending]}view(){let{verb:e}=this,r=e.arguments.some(o=>o.required&&!this.values[o.name]),i=Yt(e.name);return a`
      ${e.arguments.map(o=>a`<p class="dim">${M(o.name)}: ${o.help}</p>`)}
      <form @submit=${o=>o.preventDefault()}>
        ${e.arguments.map(o=>a`<label>${M(o.name)}${o.unit?` (${o.unit})`:""}${this.field(o)}</label>`)}
        <xp-key verb=${e.name} label=${i?`Hold to ${z(e.name)}`:M(e.name)} ?hold=${i} ?pending=${this.deck.pending.has(e.name)} ?disabled=${r||this.deck.stale}
          @press=${()=>{this.run()}} @toobrief=${()=>this.told="Hold the key for a second."}></xp-key>
        <output>${this.told}</output>
      </form>
      ${Object.entries(e.forms).map(([o,n])=>a`<div class="form"><span class="dim">${cr[o]??o}</span><code tabindex="0">${this.filled(o,n)}</code>
          <button class="small" aria-label="Copy the ${cr[o]??o} form of ${z(e.name)}" @click=${c=>this.copy(c,o)}>${this.copied===o?"Copied":"Copy"}</button></div>`)}`}field(e){let r=n=>{this.values={...this.values,[e.name]:n.target.value}},i=this.values[e.name]??"",o=this.choices(e);return o.length?a`<select @change=${r}>${["",...o].map(n=>a`<option value=${n} ?selected=${n===i}>${n}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" min=${e.minimum} max=${e.maximum??h} step=${e.type==="integer"?1:"any"} .value=${i} @input=${r} />`:a`<input type="text" autocomplete="off" spellcheck="false" maxlength="4096" .value=${i} @input=${r} />`}choices(e){let r=this.deck.state;return e.choices?e.choices:e.type==="medium"?(r?.media??[]).map(i=>i.label||i.path):e.name==="alarm"?(r?.alarm_list??[]).map(i=>i.name):[]}async run(){this.told="";let e=Object.fromEntries(Object.entries(this.values).filter(([,i])=>i!=="")),r=await this.deck.run(this.verb.name,e);this.told=r.done?"Done.":st(r)}filled(e,r){let i=r;for(let[o,n]of Object.entries(this.values)){if(n==="")continue;let c=e==="http"?encodeURIComponent(n):e==="shell"&&/[^\w.:+,/-]/.test(n)?`'${n.replaceAll("'","'\\''")}'`:n;i=i.replace(new RegExp(`\\[?\\b${o.toUpperCase()}\\b\\]?`),()=>c)}return i}copy(e,r){let i=e.currentTarget.parentElement?.querySelector("code");if(!i)return;getSelection()?.selectAllChildren(i),!document.execCommand("copy")&&navigator.clipboard&&navigator.clipboard.writeText(i.textContent??"").catch(()=>{}),this.copied=r}};re.styles=[y,u`
      :host { padding: 0.25rem 0 0.75rem; }
      form { display: flex; flex-wrap: wrap; gap: 0.5rem; align-items: end; margin: 0.25rem 0 0.5rem; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); flex: 0 1 14rem; }
      label > * { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      xp-key { min-width: 8rem; min-height: 2.75rem; }
      output { font-size: 0.875rem; flex-basis: 100%; }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) 5rem; gap: 0.5rem; align-items: center; padding: 0.125rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; border-radius: 2px; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `],d([f({attribute:!1})],re.prototype,"verb",2),d([b()],re.prototype,"values",2),d([b()],re.prototype,"told",2),d([b()],re.prototype,"copied",2),re=d([g("xp-verb")],re);var ue=class extends x{constructor(){super(...arguments);this.only=""}show(e){this.only=e,this.updateComplete.then(()=>this.dialog.open||this.dialog.showModal())}follows(){return[this.deck.verbs]}view(){let e=this.deck.verb(this.only);return a`<dialog aria-label=${e?M(e.name):"Keys and verbs"} @keydown=${r=>r.stopPropagation()}>
      <header><h2>${e?M(e.name):"Keys and verbs"}</h2><button @click=${()=>this.dialog.close()}>Close</button></header>
      ${e?a`<p>${Oe(e.help)}</p><xp-verb .deck=${this.deck} .verb=${e}></xp-verb>`:this.map()}
    </dialog>`}map(){let{deck:e}=this;return a`<dl>${lr.filter(r=>!r.verb||e.verb(r.verb)).map(r=>a`<dt>${r.keys}</dt><dd>${e.verb(r.verb)?.help??""}${r.text}</dd>`)}</dl>
      <h3>Verbs</h3>
      <p class="dim">Each opens to be done from here, and to be copied as programs say it.</p>
      ${e.verbs.map(r=>a`<details @toggle=${()=>this.requestUpdate()}><summary><b>${M(r.name)}</b><span class="dim">${r.help}</span></summary>${this.isOpen(r.name)?a`<xp-verb .deck=${e} .verb=${r}></xp-verb>`:h}</details>`)}`}isOpen(e){let r=this.deck.verbs.findIndex(i=>i.name===e);return this.renderRoot.querySelectorAll("details")[r]?.open??!1}};ue.styles=[y,u`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 0 1.25rem 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding: 0.75rem 0 0.5rem; z-index: 1; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 0.5rem 0 0; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      details { border-top: 1px solid var(--line); }
      summary { min-height: 2.75rem; display: flex; gap: 0.75rem; align-items: center; cursor: pointer; font-size: 0.9375rem; }
      summary::before { content: "+"; color: var(--dim); width: 0.75rem; }
      details[open] summary::before { content: "−"; }
      summary b { color: var(--bright); min-width: 9rem; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } summary b { min-width: 7rem; } }
    `],d([f()],ue.prototype,"only",2),d([A("dialog")],ue.prototype,"dialog",2),ue=d([g("xp-help")],ue);var Ie=class extends x{view(){let t=this.deck.state,e=P(t);this.toggleAttribute("recording",e&&!this.deck.stale);let{stale:r}=this.deck;if(!t)return a`<div class="head"><span class="word">Connecting</span></div>`;if(!t.running)return a`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;let i=e?t.take_frames:t.frame,o=e?Z(t.seconds_left):Q(t.length-1-t.frame,t.rate),n=t.status==="playing"&&t.speed===0,c=(l,m)=>a`<div><div class="label">${l}</div><div class="figure">${m}</div></div>`;return a`
      <div class="head">
        <span class="word" role="status">${this.word((r?"was ":"")+(n?"still":t.status))}</span>
        ${!e&&t.speed!==0&&t.status!=="stopped"?a`<span class="speed figure">${t.speed}×</span>`:h}
        <span class="format"><span class="dim">In</span> ${t.input_locked?t.input_format:"no signal"}<br /><span class="dim">Rec</span> ${z(t.record_codec)}</span>
      </div>
      ${t.record_inhibited&&!e?a`<div class="inhibited cut" title=${t.record_inhibited}>Cannot record: ${t.record_inhibited}</div>`:a`<div class="clip cut" title=${t.clip}>${t.clip||"no clip"}</div>`}
      <div class="fields">
        ${c(e?"Take":"Played",Q(Math.max(0,i),t.rate))}
        ${c(e?"Room left":"To the end",o)}
        ${e?c("Safe on disk",Q(t.recorded_up_to,t.rate)):c("Input timecode",t.input_timecode||"--:--:--:--")}
      </div>
    `}word(t){let e=z(t);return e.charAt(0).toUpperCase()+e.slice(1)}};Ie.styles=[y,u`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: max(2rem, 2.6vw); line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: 0.8125rem; min-width: 0; }
      .clip { font-size: 1rem; align-self: center; color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .figure { font-size: 1.0625rem; color: var(--bright); line-height: 1.1; }
      .inhibited { color: var(--amber); font-size: 0.8125rem; }
      :host([big]) .word { font-size: 3.4vw; }
      :host([big]) .clip { font-size: 1.6vw; }
      :host([big]) .fields .figure { font-size: 1.6vw; }
      :host([big]) .label, :host([big]) .format { font-size: 1.1vw; }
      @media (max-width: 759px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `],Ie=d([g("xp-state")],Ie);var qe=24,hi=60,ke=class extends x{constructor(){super(...arguments);this.disabled=!1;this.angle=0;this.grip=null;this.rest=0}turn(e){if(this.disabled)return;this.angle+=e,this.renderRoot.querySelector("#wheel")?.setAttribute("transform",`rotate(${this.angle*360} 60 60)`),this.rest+=e*qe;let r=Math.trunc(this.rest);r!==0&&(this.rest-=r,this.deck.steps(r))}at(e){let r=e.currentTarget.getBoundingClientRect();return Math.atan2(e.clientY-r.top-r.height/2,e.clientX-r.left-r.width/2)/(2*Math.PI)}down(e){e.currentTarget.setPointerCapture(e.pointerId),this.grip=this.at(e)}move(e){if(this.grip===null)return;let r=this.at(e),i=r-this.grip;i-=Math.round(i),this.grip=r,this.turn(i)}wheel(e){e.preventDefault();let r=e.deltaMode===WheelEvent.DOM_DELTA_LINE?20:1;this.turn(e.deltaY*r/hi/qe)}keydown(e){let r={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(r*(e.shiftKey?10:1)/qe))}view(){let e=Array.from({length:qe},(r,i)=>i);return a`<svg viewBox="0 0 120 120" data-verb="step" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame??0} aria-valuemin="0"
      aria-valuemax=${Math.max(0,(this.deck.state?.length??1)-1)} aria-disabled=${this.disabled?"true":"false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${()=>this.grip=null} @pointercancel=${()=>this.grip=null} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${e.map(r=>this.mark(r))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`}mark(e){let r=e/qe*2*Math.PI-Math.PI/2,[i,o]=[Math.cos(r),Math.sin(r)];return pi(60+i*50,60+o*50,60+i*55.5,60+o*55.5,e%6===0?"mark big":"mark")}};ke.styles=[y,u`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `],d([f({type:Boolean})],ke.prototype,"disabled",2),ke=d([g("xp-jog")],ke);var pi=(s,t,e,r,i)=>O`<line class=${i} x1=${s} y1=${t} x2=${e} y2=${r} />`;var Be=class extends x{get frames(){return Math.max(1,this.deck.state?.length??1)}go(t){let e=t.currentTarget.getBoundingClientRect(),r=Math.min(1,Math.max(0,(t.clientX-e.left)/e.width));this.cue(Math.round(r*(this.frames-1)))}cue(t){let e=this.deck.state;!e?.running||P(e)||this.deck.run("cue",{where:String(Math.min(this.frames-1,Math.max(0,t)))})}keydown(t){let e={PageUp:.1,PageDown:-.1}[t.key];e!==void 0&&(t.preventDefault(),this.cue((this.deck.state?.frame??0)+Math.round(e*this.frames)))}updated(){let t=this.deck.state,e=t&&!P(t)?Math.min(1,Math.max(0,t.frame)/Math.max(1,this.frames-1)):0;this.renderRoot.querySelector(".done")?.style.setProperty("transform",`scaleX(${e})`),this.renderRoot.querySelector(".head")?.style.setProperty("left",`${e*100}%`)}view(){let t=this.deck.state,e=P(t),r=Math.max(0,t?.frame??0);return a`<span class="cut figure">${e?"A take runs":`Frame ${r}`}</span><div
      class="bar" data-verb="cue" role="slider" tabindex="0" aria-label="Position in the clip" aria-valuemin="0" aria-valuemax=${this.frames-1} aria-valuenow=${e?0:Math.min(r,this.frames-1)}
      aria-valuetext=${e?"recording":`frame ${r} of ${this.frames}`} aria-disabled=${e?"true":"false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done"></div>
      <div class="head" ?hidden=${e}></div>
    </div><span class="length figure">${e?"":Q(this.frames,t?.rate??25)}</span>`}};Be.styles=[y,u`
      :host { height: 1.5rem; display: grid; grid-template-columns: 6.5rem minmax(0, 1fr) 5.5rem; gap: 0.5rem; align-items: center; font-size: 0.75rem; color: var(--dim); }
      .length { text-align: right; }
      @media (max-width: 759px) { :host { height: auto; grid-template-columns: 1fr auto; } .bar { grid-area: 1 / 1 / 2 / 3; height: 1.75rem !important; } }
      .bar { position: relative; height: 100%; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
    `],Be=d([g("xp-position")],Be);var kt=[0,.1,.25,.5,1,2,4,8,16,32],oe=class extends x{constructor(){super(...arguments);this.disabled=!1;this.pulled=0;this.speed=0}pull(e){if(this.disabled)return;this.pulled=Math.min(1,Math.max(-1,e));let r=Math.sign(this.pulled)*kt[Math.round(Math.abs(this.pulled)*(kt.length-1))];r!==this.speed&&(this.speed=r,this.deck.speed(r))}move(e){let r=e.currentTarget;if(e.type==="pointerdown"&&r.setPointerCapture(e.pointerId),!r.hasPointerCapture(e.pointerId))return;let i=r.getBoundingClientRect();this.pull((e.clientX-i.left)/i.width*2-1)}let(){this.pulled!==0&&(this.pulled=0,this.speed=0,this.deck.speed(0))}keydown(e){let r={ArrowRight:1,ArrowLeft:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.pull(this.pulled+r/(kt.length-1)))}updated(){this.renderRoot.querySelector(".knob")?.style.setProperty("left",`calc(50% + ${this.pulled} * (50% - 1.25rem))`)}view(){return a`<div class="track" data-verb="play" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed===0?"still":`${this.speed} times`} aria-disabled=${this.disabled?"true":"false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`}};oe.styles=[y,u`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `],d([f({type:Boolean})],oe.prototype,"disabled",2),d([b()],oe.prototype,"pulled",2),d([b()],oe.prototype,"speed",2),oe=d([g("xp-shuttle")],oe);var xt=s=>s!=="stopped"&&s!=="recording",mi=[{verb:"record",label:"Record",icon:"record",wide:!0,lit:s=>s==="recording"},{verb:"stop",label:"Stop",icon:"stop",wide:!0,lit:s=>s==="stopped"},{verb:"play",label:"Reverse",icon:"reverse",values:{speed:-1},lit:(s,t)=>xt(s)&&t<0},{verb:"still",label:"Still",icon:"still",lit:(s,t)=>xt(s)&&t===0},{verb:"play",label:"Play",icon:"play",wide:!0,values:{speed:1},lit:(s,t)=>xt(s)&&t>0},{verb:"prev",label:"Previous",icon:"prev"},{verb:"next",label:"Next",icon:"next"}],ui=[-10,-1,1,10],xe=class extends x{focusTimecode(){this.where.focus(),this.where.select()}follows(){let{state:t}=this.deck;return[t?.running,t?.status,t?.speed,this.deck.stale,this.deck.pending,this.deck.verbs]}view(){let t=this.deck.state,e=P(t),r=!t?.running||this.deck.stale;return a`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${mi.map((i,o)=>this.key(i,e,r,o===4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${ui.map(i=>a`<xp-key verb="step" label=${i>0?`+${i}`:`−${-i}`} hint=${`${Math.abs(i)} frame${Math.abs(i)>1?"s":""} ${i>0?"on":"back"}`}
              ?disabled=${r} @press=${()=>this.deck.steps(i)}></xp-key>`)}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${r}></xp-shuttle>
        <form data-verb="cue" @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${r} title=${this.deck.verb("cue")?.help??h}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${r}></xp-jog>
    `}key(t,e,r,i){let o=this.deck.verb(t.verb);if(this.deck.verbs.length&&!o)return h;let n=this.deck.state,c=!r&&!!n&&!!t.lit?.(n.status,n.speed);return a`<xp-key
      class="${t.wide?"wide":""} ${i?"third":""}"
      verb=${t.verb}
      label=${t.verb==="stop"&&e?"Hold to stop":t.label}
      hint=${`${t.label}: ${o?.help??""}`}
      icon=${t.icon}
      ?red=${t.verb==="record"}
      ?lit=${c}
      ?toggle=${!!t.lit}
      ?pending=${this.deck.pending.has(t.verb)}
      ?hold=${t.verb==="stop"&&e}
      ?disabled=${r}
      @press=${()=>{this.deck.run(t.verb,t.values)}}
      @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}
    ></xp-key>`}cue(t){t.preventDefault();let e=gi(this.where.value);e&&(this.where.blur(),this.deck.run("cue",{where:e}).then(r=>r.done||this.where.focus()))}};xe.styles=[y,u`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 759px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `],d([A("#where")],xe.prototype,"where",2),xe=d([g("xp-transport")],xe);function gi(s){let t=s.trim();return t.startsWith("#")?t.slice(1).trim():/^\d{1,8}$/.test(t)?t.padStart(8,"0").replace(/^(..)(..)(..)(..)$/,"$1:$2:$3:$4"):t.replaceAll(".",":")}var H=class extends S{constructor(){super(...arguments);this.deck=new ve;this.age=Wt();this.kiosk=location.hash.startsWith("#/kiosk");this.delay=null;this.open=!1;this.more=!1;this.end=()=>{};this.spoken=0;this.menu=e=>{let r=e.composedPath(),i=this.verbUnder(e);if(!i||r[0]instanceof HTMLInputElement)return;e.preventDefault(),r.some(n=>n instanceof T?n.isHeld:n instanceof Element&&n.getAttribute("role")==="slider"&&e.pointerType==="touch")||this.help.show(i)};this.moved=()=>{this.kiosk=location.hash.startsWith("#/kiosk")}}connectedCallback(){super.connectedCallback(),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start(),addEventListener("hashchange",this.moved),this.addEventListener("xp-forms",e=>this.help.show(e.verb)),this.addEventListener("contextmenu",this.menu),this.addEventListener("xp-mark",()=>this.column.mark(this.timecode.value)),this.end=dr(this.deck,{holdStop:()=>this.stopKey?.begin(),releaseStop:()=>this.stopKey?.end(),focusTimecode:()=>this.transport.focusTimecode(),mark:()=>this.column.mark(this.timecode.value),kiosk:()=>location.hash=this.kiosk?"#/clips":"#/kiosk",help:e=>this.help.show(this.verbUnder(e)),tab:e=>this.column.turn(e)})}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved),this.deck.stop(),this.end()}verbUnder(e){for(let r of e.composedPath()){if(r===this)break;let i=r instanceof HTMLElement||r instanceof SVGElement?r.dataset.verb??r.getAttribute("verb"):null;if(i)return i}return""}get stopKey(){return this.transport.renderRoot.querySelector('xp-key[verb="stop"]')}firstUpdated(){this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>this.painted(e))}painted(e){let{frame:r}=e;if(this.deck.pictureSeen(),this.timecode.value=r.timecode,this.meter.show(r.meters),r.loudness&&this.spoken++%4===0&&this.tellLoudness(r.loudness),this.deck.clockOffset===null||!r.captured||r.isRepeat)return;let i=this.age.add(performance.now()+this.deck.clockOffset-r.captured);i!==null&&(this.delay=i)}tellLoudness(e){["#momentary","#short"].forEach((r,i)=>{let o=this.renderRoot.querySelector(r);o&&(o.textContent=e[i]<=-70?"-":e[i].toFixed(1).replace("-","−"))})}updated(){this.toggleAttribute("kiosk",this.kiosk),document.title=this.pageTitle()}pageTitle(){let{state:e,stale:r}=this.deck;return r||!e?"! Recorder":P(e)?`● Recording ${e.clip}`:`Recorder: ${e.status.replaceAll("_"," ")}`}banner(e){let{deck:r}=this,i=(r.frozen/1e3).toFixed(1),o="";return r.stale?o=`No link to the recorder for ${i} s. Nothing here is live.`:e?o="The recorder is not running.":r.frozen?o=`No pictures for ${i} s. Picture, timecode and meters are not live.`:r.state?.store_problem&&(o=`The store cannot be reached: ${r.state.store_problem}`),o?a`<div class="banner" role="alert">${o}</div>`:h}render(){let{deck:e}=this,r=P(e.state)&&!e.stale,i=e.state?.running===!1;return a`
      <h1 class="hidden">Recorder</h1>
      <div class="time"><xp-timecode ?recording=${r} .age=${i?Number.EPSILON:e.frozen}></xp-timecode></div>
      <xp-state .deck=${e} ?big=${this.kiosk}></xp-state>
      <div class="view">
        <div class="frame ${r?"recording":""}">
          <xp-picture id="picture" ?stale=${e.frozen>0||i}></xp-picture>
          ${this.banner(i)} ${e.me.role==="nobody"?a`<div class="login"><xp-login .deck=${e}></xp-login></div>`:h}
        </div>
        <div class="sound">
        <xp-meter ?stale=${e.frozen>0||i} ?flat=${matchMedia("(max-width: 759px)").matches}></xp-meter>
        <div class="loudness" title="Loudness in LUFS: of the last 400 ms, of the last three seconds"><span class="label">LUFS</span><span id="momentary" class="figure">-</span><span id="short" class="figure">-</span></div>
        </div>
      </div>
      <xp-transport .deck=${e} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more?"true":"false"} @click=${()=>this.more=!this.more}>Jog, shuttle, cue</button>
        <button @click=${()=>this.open=!0}>Clips, settings…${e.state?.alarms?a` <b>! ${e.state.alarms}</b>`:h}</button>
      </div>
      <xp-column class=${this.open?"open":""} .deck=${e} @xp-close=${()=>this.open=!1}></xp-column>
      <xp-health .deck=${e} .delay=${this.delay}></xp-health>
      <xp-help .deck=${e}></xp-help>
      ${e.notice?a`<div class="notice" role="alert"><span><b>${e.notice.title}</b>. ${e.notice.text}</span><button class="small" @click=${()=>e.tell(null)}>Close</button></div>`:h}
    `}};H.styles=[y,u`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) 31rem; grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 20rem); justify-content: center; gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      .login { position: absolute; inset: 0; display: grid; place-content: center; background: var(--panel); padding: 1rem; }
      .sound { display: grid; grid-template-rows: minmax(0, 1fr) auto; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      xp-meter { margin: 0.4rem; }
      .loudness { display: grid; grid-template-columns: auto 1fr 1fr; gap: 0.4rem; align-items: baseline; padding: 0 0.6rem 0.4rem; font-size: 0.8125rem; text-align: right; color: var(--bright); white-space: nowrap; }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { grid-area: column; align-self: end; margin: 0.75rem; background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; justify-content: space-between; z-index: 4; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) 3.25rem; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) .notice { grid-area: view; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10vw; }

      @media (max-width: 759px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16.4vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { width: auto; height: auto; max-height: none; aspect-ratio: 16 / 9; }
        xp-meter { height: 5rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        .notice { position: fixed; inset: auto 0.5rem 0.5rem; margin: 0; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-areas: "state" "time" "view" "health"; }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `],d([b()],H.prototype,"kiosk",2),d([b()],H.prototype,"delay",2),d([b()],H.prototype,"open",2),d([b()],H.prototype,"more",2),d([A("xp-timecode")],H.prototype,"timecode",2),d([A("xp-meter")],H.prototype,"meter",2),d([A("xp-picture")],H.prototype,"picture",2),d([A("xp-column")],H.prototype,"column",2),d([A("xp-help")],H.prototype,"help",2),d([A("xp-transport")],H.prototype,"transport",2),H=d([g("xp-panel")],H);var hr={ATTRIBUTE:1,CHILD:2,PROPERTY:3,BOOLEAN_ATTRIBUTE:4,EVENT:5,ELEMENT:6},pr=s=>(...t)=>({_$litDirective$:s,values:t}),lt=class{constructor(t){}get _$AU(){return this._$AM._$AU}_$AT(t,e,r){this._$Ct=t,this._$AM=e,this._$Ci=r}_$AS(t,e){return this.update(t,e)}update(t,e){return this.render(...e)}};var{I:fi}=Bt,mr=s=>s;var ur=()=>document.createComment(""),Ee=(s,t,e)=>{let r=s._$AA.parentNode,i=t===void 0?s._$AB:t._$AA;if(e===void 0){let o=r.insertBefore(ur(),i),n=r.insertBefore(ur(),i);e=new fi(o,n,s,s.options)}else{let o=e._$AB.nextSibling,n=e._$AM,c=n!==s;if(c){let l;e._$AQ?.(s),e._$AM=s,e._$AP!==void 0&&(l=s._$AU)!==n._$AU&&e._$AP(l)}if(o!==i||c){let l=e._$AA;for(;l!==o;){let m=mr(l).nextSibling;mr(r).insertBefore(l,i),l=m}}}return e},ne=(s,t,e=s)=>(s._$AI(t,e),s),vi={},gr=(s,t=vi)=>s._$AH=t,fr=s=>s._$AH,dt=s=>{s._$AR(),s._$AA.remove()};var vr=(s,t,e)=>{let r=new Map;for(let i=t;i<=e;i++)r.set(s[i],i);return r},br=pr(class extends lt{constructor(s){if(super(s),s.type!==hr.CHILD)throw Error("repeat() can only be used in text expressions")}dt(s,t,e){let r;e===void 0?e=t:t!==void 0&&(r=t);let i=[],o=[],n=0;for(let c of s)i[n]=r?r(c,n):n,o[n]=e(c,n),n++;return{values:o,keys:i}}render(s,t,e){return this.dt(s,t,e).values}update(s,[t,e,r]){let i=fr(s),{values:o,keys:n}=this.dt(t,e,r);if(!Array.isArray(i))return this.ut=n,o;let c=this.ut??=[],l=[],m,v,p=0,$=i.length-1,k=0,w=o.length-1;for(;p<=$&&k<=w;)if(i[p]===null)p++;else if(i[$]===null)$--;else if(c[p]===n[k])l[k]=ne(i[p],o[k]),p++,k++;else if(c[$]===n[w])l[w]=ne(i[$],o[w]),$--,w--;else if(c[p]===n[w])l[w]=ne(i[p],o[w]),Ee(s,l[w+1],i[p]),p++,w--;else if(c[$]===n[k])l[k]=ne(i[$],o[k]),Ee(s,i[p],i[$]),$--,k++;else if(m===void 0&&(m=vr(n,k,w),v=vr(c,p,$)),m.has(c[p]))if(m.has(c[$])){let E=v.get(n[k]),L=E!==void 0?i[E]:null;if(L===null){let D=Ee(s,i[p]);ne(D,o[k]),l[k]=D}else l[k]=ne(L,o[k]),Ee(s,i[p],L),i[E]=null;k++}else dt(i[$]),$--;else dt(i[p]),p++;for(;k<=w;){let E=Ee(s,l[w+1]);ne(E,o[k]),l[k++]=E}for(;p<=$;){let E=i[p++];E!==null&&dt(E)}return this.ut=n,gr(s,l),J}});var V=class extends S{constructor(){super(...arguments);this.at="";this.name="";this.told="";this.deck=null}get within(){return this.at&&`${this.at}/`}connectedCallback(){super.connectedCallback(),this.deck=new ve(this.within),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start()}disconnectedCallback(){super.disconnectedCallback(),this.deck?.stop()}firstUpdated(){this.picture.link.at=this.within,this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>{this.deck?.pictureSeen(),this.timecode.value=e.frame.timecode})}get link(){let e=[je,this.at].filter(Boolean).join("/");return`${location.pathname}${e?`?at=${encodeURI(e)}`:""}#/clips`}banner(e,r){return e.stale?`${this.told||`No link for ${(e.frozen/1e3).toFixed(0)} s.`} Nothing here is live.`:r?"The recorder is not running.":e.frozen?`No pictures for ${(e.frozen/1e3).toFixed(0)} s.`:e.notice?`${e.notice.title}. ${e.notice.text}`:""}render(){let e=this.deck;if(!e)return h;let{state:r}=e,i=P(r)&&!e.stale,o=r?.running===!1,n=e.stale||!r?.running;this.toggleAttribute("recording",i);let c=this.banner(e,o),l=r?o?"Not running":M((e.stale?"was ":"")+r.status):"Connecting";return a`
      <xp-picture ?stale=${e.frozen>0||o}></xp-picture>
      ${c?a`<div class="banner" role="alert">${c}</div>`:h}
      <div class="head">
        <span class="name cut"><bdi>${this.name}</bdi></span>
        <xp-timecode ?recording=${i} .age=${o?Number.EPSILON:e.frozen}></xp-timecode>
        <span class="word" role="status">${l}</span>
      </div>
      <div class="foot">
        <span class="cut">${r&&!n?a`<bdi>${r.clip||"no clip"}</bdi>, ${Z(r.seconds_left)} left${r.alarms?a` <span class="alarms">! ${r.alarms} ${r.alarms===1?"alarm":"alarms"}</span>`:h}`:h}</span>
        <xp-key verb="record" label="Record" red ?lit=${i} toggle ?pending=${e.pending.has("record")} ?disabled=${n} @press=${()=>{e.run("record")}}></xp-key>
        <xp-key verb="stop" label=${i?"Hold to stop":"Stop"} ?hold=${i} ?pending=${e.pending.has("stop")} ?disabled=${n} @press=${()=>{e.run("stop")}}
          @toobrief=${()=>e.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}></xp-key>
        <a href=${this.link}>Open<span class="hidden"> ${this.name}</span></a>
      </div>
    `}};V.styles=[y,u`
      :host { position: relative; display: grid; grid-template-rows: minmax(0, 1fr) auto auto; background: var(--panel); border: 0.25rem solid var(--line); border-radius: var(--round); min-height: 0; min-width: 0; overflow: hidden; container-type: inline-size; }
      :host([recording]) { border-color: var(--red); }
      xp-picture { min-height: 0; min-width: 0; }
      .banner { position: absolute; inset: 0 0 auto 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.4rem 0.75rem; text-align: center; }
      .head { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0 1rem; align-items: center; padding: 0.4rem 0.75rem 0; }
      .name { font-weight: 700; color: var(--bright); font-size: max(1rem, 3.2cqw); }
      .word { font-size: max(0.875rem, 2.6cqw); }
      :host([recording]) .word { background: var(--red); color: var(--on-red); border-radius: var(--round); padding: 0 0.5em; font-weight: 700; justify-self: start; }
      .alarms { color: var(--amber); font-weight: 700; }
      xp-timecode { font-size: 9cqw; grid-row: 1 / 3; grid-column: 2; }
      .foot { display: grid; grid-template-columns: minmax(0, 1fr) auto auto auto; gap: 0.25rem 0.5rem; padding: 0.4rem 0.5rem 0.5rem 0.75rem; align-items: center; }
      xp-key { width: 6.5rem; height: 2.75rem; }
      .foot a { display: grid; place-content: center; min-height: 2.75rem; padding: 0 0.75rem; }
      @media (max-width: 759px) { xp-picture { aspect-ratio: 16 / 9; } .foot { grid-template-columns: repeat(3, auto); } .foot .cut { grid-column: 1 / -1; } }
    `],d([f()],V.prototype,"at",2),d([f()],V.prototype,"name",2),d([f()],V.prototype,"told",2),d([A("xp-picture")],V.prototype,"picture",2),d([A("xp-timecode")],V.prototype,"timecode",2),V=d([g("xp-tile")],V);var bi=5e3,ge=class extends S{constructor(){super(...arguments);this.places=[];this.problem="";this.timer=0}connectedCallback(){super.connectedCallback(),document.title="Recorders",this.look(),this.timer=window.setInterval(()=>{this.look()},bi)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}async look(){let e=await F("fleet");if(e instanceof _){this.problem=e.status===404?"":e.sentence,e.status===404&&!this.places.length&&(this.places=[{at:"",name:"This recorder",told:""}]);return}this.problem="";let r=(e.channels??[]).map(({channel:c,panel:l})=>({at:c===1?"":`channels/${c}`,name:`Channel ${c}`,told:l?"":"Its panel does not run."})),i=(e.machines??[]).flatMap(c=>{let l=`machines/${encodeURIComponent(c.name)}`,m=c.state==="ready"?"":`This machine is ${c.state.replaceAll("_"," ")}.`,v=c.channels?.length?c.channels:[{channel:1,panel:!0}];return v.map(({channel:p})=>({at:p===1?l:`${l}/channels/${p}`,name:v.length>1?`${c.name}, channel ${p}`:c.name,told:m}))}),o=[...r,...i],n=this.places.filter(c=>!o.some(l=>l.at===c.at)).map(c=>({...c,told:"It is not told of any more."}));this.places=[...o,...n].sort((c,l)=>c.name.localeCompare(l.name,"en",{numeric:!0}))}updated(){let e=Math.ceil(Math.sqrt(this.places.length||1));this.renderRoot.querySelector(".tiles")?.style.setProperty("--columns",String(e))}render(){return a`
      <header><h1>Recorders</h1>${this.problem?a`<span role="alert">${this.problem}</span>`:h}<a href="#/clips">Back to one recorder</a></header>
      <div class="tiles">${br(this.places,e=>e.at,e=>a`<xp-tile at=${e.at} name=${e.name} told=${e.told}></xp-tile>`)}</div>
    `}};ge.styles=[y,u`
      :host { box-sizing: border-box; display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden; }
      header { display: flex; align-items: center; gap: 1rem; }
      header a { margin-left: auto; min-height: 2.75rem; line-height: 2.75rem; padding: 0 0.75rem; }
      h1 { font-size: 1.125rem; color: var(--bright); margin: 0; padding-left: 0.25rem; }
      .tiles { display: grid; gap: var(--gap); min-height: 0; grid-auto-rows: minmax(0, 1fr); grid-template-columns: repeat(var(--columns, 1), minmax(0, 1fr)); }
      @media (max-width: 759px) {
        :host { height: auto; overflow: visible; }
        .tiles { grid-template-columns: minmax(0, 1fr); grid-auto-rows: auto; }
      }
    `],d([b()],ge.prototype,"places",2),d([b()],ge.prototype,"problem",2),ge=d([g("xp-wall")],ge);function wr(){let s=location.hash.startsWith("#/wall")?"xp-wall":"xp-panel",t=document.querySelector("main");t?.firstElementChild?.localName!==s&&t?.replaceChildren(document.createElement(s))}addEventListener("hashchange",wr);wr();
